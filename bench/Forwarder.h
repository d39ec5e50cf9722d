// The yardstick for a closed gate: the least that a program can do which takes the keyboard and gives its keys on.
#pragma once

namespace bench {

// Grabs the hardware keyboard and re-emits every key at once: no decision, no question who has the focus. Says "ready"
// on standard error when it has the keyboard. Runs until it is killed; returns an exit code if it cannot.
int runForwarder();

}  // namespace bench
