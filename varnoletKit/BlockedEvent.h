// One blocked theft, as the log keeps it.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Tasks.h"

namespace varnoletKit {

// Missing identifiers and names are the engine's to fill in ("unknown"); the record holds what it is given.
struct BlockedEvent {
  // A UUID in its 36-character textual form, upper-case: platform::newUUID().
  std::string id;
  // When the theft was blocked. The log keeps whole seconds.
  platform::Date timestamp;
  // The application that took the focus, and the one that got it back.
  std::string thiefBundleID;
  std::string thiefName;
  std::string protectedBundleID;
  std::string protectedName;
  // Keystrokes held back and replayed.
  std::int64_t keystrokesBuffered = 0;
  // Milliseconds until the protected application was confirmed in front again.
  std::int64_t reactivationLatencyMs = 0;

  friend bool operator==(const BlockedEvent&, const BlockedEvent&) = default;
};

}  // namespace varnoletKit
