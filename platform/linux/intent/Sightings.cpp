#include "platform/linux/intent/Sightings.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

// Longer ago than any rule looks back.
constexpr auto longAgo = 3s;
constexpr std::size_t mostWindows = 4096;

}  // namespace

void Sightings::note(WindowId window, Moment when) {
  if (lasts_.size() >= mostWindows) {
    std::erase_if(lasts_, [&](const auto& last) { return last.second < when - longAgo; });
    if (lasts_.size() >= mostWindows) {
      lasts_.clear();
      forgotten_ = when;
    }
  }
  lasts_[window] = when;
}

std::optional<Moment> Sightings::lastOf(WindowId window) const {
  const auto last = lasts_.find(window);
  return last == lasts_.end() ? std::nullopt : std::optional(last->second);
}

bool Sightings::mayBeSince(WindowId window, Moment since) const {
  const auto last = lastOf(window);
  return (last && *last >= since) || (forgotten_ && *forgotten_ >= since);
}

}  // namespace platform::linux_desktop
