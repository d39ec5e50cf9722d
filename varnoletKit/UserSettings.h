// Everything that the user can configure.
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace varnoletKit {

// No value is checked or clamped: a stored record is used as it is.
struct UserSettings {
  // Bundle identifiers of applications that may take the focus, compared exactly. The built-in ones
  // (BlessedAppManager) count besides these.
  std::set<std::string> whitelist = {};
  // How far back, in milliseconds, a gesture of the user counts as the cause of an activation.
  std::int64_t gestureWindowMs = 500;
  // How long, in milliseconds, keystrokes are held back for an application that does not come back.
  std::int64_t bufferTimeoutMs = 500;
  // Whether a blocked theft is notified, and whether with a sound.
  bool notificationsEnabled = true;
  bool soundEnabled = true;
  // Blocked events older than so many days are removed from the log at the start of the program.
  std::int64_t logRetentionDays = 30;
  bool launchAtLogin = false;

  friend bool operator==(const UserSettings&, const UserSettings&) = default;
};

}  // namespace varnoletKit
