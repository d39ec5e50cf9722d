// What processes use, as /proc tells it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

namespace bench {

// Sums over the threads that live now.
struct Usage {
  // Times that a thread went to wait, which is as often as it woke up, and nanoseconds that it ran.
  std::uint64_t wakeups = 0;
  std::uint64_t cpuNanoseconds = 0;
  std::uint64_t residentKilobytes = 0;
};
Usage usageOf(const std::vector<pid_t>& processes);

}  // namespace bench
