#include "tools/stage/Transcript.h"

#include <algorithm>

namespace stage {
namespace {

std::string listOf(const std::vector<std::size_t>& positions) {
  constexpr std::size_t shown = 20;
  std::string text;
  for (std::size_t i = 0; i < std::min(positions.size(), shown); ++i) text += ' ' + std::to_string(positions[i]);
  return positions.size() > shown ? text + " ..." : text;
}

}  // namespace

Difference difference(const std::vector<KeyCode>& typed, const std::vector<KeyCode>& arrived) {
  Difference result;
  std::size_t t = 0;
  std::size_t a = 0;
  const auto goesOnAt = [&](std::size_t in, std::size_t out) {
    constexpr std::size_t enough = 4;
    for (std::size_t i = 0; i < enough; ++i) {
      if (in + i >= typed.size() || out + i >= arrived.size())
        return in + i == typed.size() && out + i == arrived.size();
      if (typed[in + i] != arrived[out + i]) return false;
    }
    return true;
  };
  while (t < typed.size() || a < arrived.size()) {
    if (t < typed.size() && a < arrived.size() && typed[t] == arrived[a]) {
      ++t;
      ++a;
      continue;
    }
    // With the fewest keys left out, on one side or both, to where the two go on alike; in the end they do.
    std::size_t lost = 0;
    std::size_t surplus = 0;
    while (!goesOnAt(t + lost, a + surplus)) {
      const std::size_t changes = lost + surplus;
      lost = lost == changes ? 0 : lost + 1;
      surplus = lost == 0 ? changes + 1 : surplus - 1;
    }
    for (; lost > 0; --lost) result.lost.push_back(t++);
    for (; surplus > 0; --surplus) result.surplus.push_back(a++);
  }
  return result;
}

std::string describe(const Difference& difference) {
  if (difference.isNone()) return "everything arrived once and in order";
  return std::to_string(difference.lost.size()) + " lost, of the typed keys number" + listOf(difference.lost) + "; " +
         std::to_string(difference.surplus.size()) + " doubled or out of order, of the arrived keys number" +
         listOf(difference.surplus);
}

}  // namespace stage
