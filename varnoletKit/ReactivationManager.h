// Brings an application back to the front and makes sure that it got there.
#pragma once

#include <cstdint>
#include <variant>

#include "platform/Coroutine.h"
#include "platform/NSRunningApplication.h"

namespace varnoletKit {

// Latencies are milliseconds from the request on.
struct ReactivationResult {
  // Seen in front.
  struct success {
    std::int64_t latencyMs = 0;
    friend bool operator==(const success&, const success&) = default;
  };
  // Not seen in front until the last poll.
  struct confirmationFailed {
    std::int64_t latencyMs = 0;
    friend bool operator==(const confirmationFailed&, const confirmationFailed&) = default;
  };
  // Terminated, before or meanwhile.
  struct appTerminated {
    friend bool operator==(const appTerminated&, const appTerminated&) = default;
  };

  std::variant<success, confirmationFailed, appTerminated> value;

  friend bool operator==(const ReactivationResult&, const ReactivationResult&) = default;
};

// Stateless; any number of re-activations may be under way at once.
class ReactivationManager {
 public:
  // Main thread. Asks once, then looks five times, 100 ms apart, whether the application is in front; other main-thread
  // work runs in between.
  platform::Async<ReactivationResult> reactivate(platform::NSRunningApplication blessedApp) const;
};

}  // namespace varnoletKit
