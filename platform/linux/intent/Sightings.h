// When each window was last seen doing something.
#pragma once

#include <optional>
#include <unordered_map>

#include "platform/linux/intent/Activation.h"

namespace platform::linux_desktop {

// Knows of as many windows as programs may open for a jest, and of nothing older than anybody asks for. Not
// thread-safe.
class Sightings {
 public:
  void note(WindowId window, Moment when);
  // Absent if it was not seen, or not lately.
  std::optional<Moment> lastOf(WindowId window) const;
  // Whether it cannot be ruled out that the window was seen at `since` or later.
  bool mayBeSince(WindowId window, Moment since) const;

 private:
  std::unordered_map<WindowId, Moment> lasts_;
  std::optional<Moment> forgotten_;  // what was seen up to then
};

}  // namespace platform::linux_desktop
