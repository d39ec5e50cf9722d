// The yardstick for an open gate: the least that a program can do which sees every key.
#pragma once

namespace bench {

// Takes the raw key events of the hardware keyboard and does nothing with them. Says "ready" on standard error when
// they come. Runs until it is killed; returns an exit code if it cannot.
int runListener();

}  // namespace bench
