// What the X server's time stamps are on our own clock.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/intent/Activation.h"

namespace platform::linux_desktop {

// Server time counts milliseconds and starts anew every 49 days. An event arrives some time after it happened: of all
// that came in, the promptest tells best how far the clocks are apart. Not thread-safe.
class ServerClock {
 public:
  // An event that happened at `server` came in at `arrival`. Returns when it happened, which is never after that.
  Moment note(std::uint32_t server, Moment arrival);
  // Absent until an event came in.
  std::optional<Moment> timeOf(std::uint32_t server) const;

 private:
  struct Pair {
    std::uint32_t server = 0;
    Moment own;
  };
  std::optional<Pair> latest_;
};

}  // namespace platform::linux_desktop
