// What was typed against what arrived.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/stage/Keyboard.h"

namespace stage {

// What has to be left out for the two to be alike. A key that arrived out of order counts as lost where it belonged and
// as surplus where it came.
struct Difference {
  // Positions among the typed keys.
  std::vector<std::size_t> lost;
  // Positions among the arrived keys.
  std::vector<std::size_t> surplus;

  bool isNone() const { return lost.empty() && surplus.empty(); }
};

Difference difference(const std::vector<KeyCode>& typed, const std::vector<KeyCode>& arrived);
// Names positions only, never keys.
std::string describe(const Difference& difference);

}  // namespace stage
