#include "tests/desktop/stage/Transcript.h"

#include <algorithm>

namespace stage {
namespace {

// More changes than this, and the two have little to do with each other.
constexpr int mostChanges = 3000;

// The furthest points reached with 0, 1, 2... changes, by diagonal (position in `arrived` minus position in `typed`):
// the greedy search for a shortest edit script.
using Frontier = std::vector<int>;

// Where positions that are compared with negative ones become places in a list.
std::size_t place(int position) {
  return static_cast<std::size_t>(position);
}

std::vector<Frontier> search(const std::vector<KeyCode>& typed, const std::vector<KeyCode>& arrived) {
  const int typedSize = static_cast<int>(typed.size());
  const int arrivedSize = static_cast<int>(arrived.size());
  std::vector<Frontier> history;
  // Positions in `arrived`; index `diagonal + changes`.
  Frontier previous;
  for (int changes = 0; changes <= mostChanges; ++changes) {
    Frontier frontier(2 * place(changes) + 1);
    const auto reached = [&](int on) { return previous[place(on + changes - 1)]; };
    bool isDone = false;
    for (int diagonal = -changes; diagonal <= changes; diagonal += 2) {
      int x = 0;
      if (changes > 0) {
        const bool insert =
            diagonal == changes || (diagonal != -changes && reached(diagonal - 1) + 1 > reached(diagonal + 1));
        x = insert ? reached(diagonal - 1) + 1 : reached(diagonal + 1);
      }
      while (x < arrivedSize && x - diagonal < typedSize && arrived[place(x)] == typed[place(x - diagonal)]) {
        ++x;
      }
      frontier[place(diagonal + changes)] = x;
      if (x >= arrivedSize && x - diagonal >= typedSize) isDone = true;
    }
    history.push_back(frontier);
    if (isDone) return history;
    previous = std::move(frontier);
  }
  return {};
}

std::string listOf(const std::vector<std::size_t>& positions) {
  constexpr std::size_t shown = 20;
  std::string text;
  for (std::size_t i = 0; i < std::min(positions.size(), shown); ++i) text += ' ' + std::to_string(positions[i]);
  return positions.size() > shown ? text + " ..." : text;
}

}  // namespace

Difference difference(const std::vector<KeyCode>& typed, const std::vector<KeyCode>& arrived) {
  Difference result;
  const auto history = search(typed, arrived);
  if (history.empty()) {
    result.isHopeless = true;
    return result;
  }
  // Back from the end: each step was one key too many or one too few.
  int x = static_cast<int>(arrived.size());
  int diagonal = x - static_cast<int>(typed.size());
  for (int changes = static_cast<int>(history.size()) - 1; changes > 0; --changes) {
    const auto& previous = history[place(changes - 1)];
    const auto reached = [&](int on) { return previous[place(on + changes - 1)]; };
    const bool insert =
        diagonal == changes || (diagonal != -changes && reached(diagonal - 1) + 1 > reached(diagonal + 1));
    if (insert) {
      --diagonal;
      x = reached(diagonal);
      result.surplus.push_back(place(x));
    } else {
      ++diagonal;
      x = reached(diagonal);
      result.lost.push_back(place(x - diagonal));
    }
  }
  std::reverse(result.lost.begin(), result.lost.end());
  std::reverse(result.surplus.begin(), result.surplus.end());
  return result;
}

std::string describe(const Difference& difference) {
  if (difference.isHopeless) return "what arrived has little to do with what was typed";
  if (difference.isNone()) return "everything arrived once and in order";
  std::string text;
  if (!difference.lost.empty()) {
    text += std::to_string(difference.lost.size()) + " lost, of the typed keys number" + listOf(difference.lost);
  }
  if (!difference.surplus.empty()) {
    text += (text.empty() ? "" : "; ") + std::to_string(difference.surplus.size()) +
            " doubled or out of order, of the arrived keys number" + listOf(difference.surplus);
  }
  return text;
}

}  // namespace stage
