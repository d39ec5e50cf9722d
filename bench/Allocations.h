// How often this program has asked for memory: its operator new counts.
#pragma once

#include <cstdint>

namespace bench {

std::uint64_t allocationsSoFar();

}  // namespace bench
