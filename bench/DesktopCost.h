// What the running program costs on a real X server, with openbox.
#pragma once

#include <filesystem>
#include <vector>

#include "Table.h"

namespace bench {

// Key latency with the program idle over that without it, and with its gate closed over that of a bare
// grab-and-forward loop, which is this executable started with "forward". Each pair is measured in turns.
std::vector<Row> measureKeyLatency(const std::filesystem::path& program, int rounds);
// From the moment that the focus is lost to a thief: until it is back, and until keys typed meanwhile have arrived.
std::vector<Row> measureThefts(const std::filesystem::path& program, int thefts);
// The program at rest, its watchdog included: wake-ups, processor time and memory.
std::vector<Row> measureIdle(const std::filesystem::path& program, int seconds);

}  // namespace bench
