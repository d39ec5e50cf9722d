#include "platform/linux/intent/ServerClock.h"

#include <algorithm>

namespace platform::linux_desktop {

Moment ServerClock::note(std::uint32_t server, Moment arrival) {
  const Moment own = std::min(timeOf(server).value_or(arrival), arrival);
  latest_ = {server, own};
  return own;
}

std::optional<Moment> ServerClock::timeOf(std::uint32_t server) const {
  if (!latest_) return std::nullopt;
  // The difference is right whether or not the server's count has started anew in between.
  return latest_->own + std::chrono::milliseconds(static_cast<std::int32_t>(server - latest_->server));
}

}  // namespace platform::linux_desktop
