// What an application is called, from what its window and its process say.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/linux/DesktopEntries.h"
#include "platform/linux/XcbConnection.h"

namespace platform::linux_desktop {

struct ApplicationNames {
  std::optional<std::string> bundleIdentifier;
  std::optional<std::string> localizedName;
};

// What a running application of that entry is called; absent if the entry has no id.
std::optional<std::string> bundleIdentifierOf(const DesktopEntry& entry);

// Main thread. All answers are valid UTF-8 of bounded length, whatever the window's client put there.
class ApplicationNaming {
 public:
  // The program's own windows bear `applicationIdentifier`.
  ApplicationNaming(XcbConnection& connection, std::string applicationIdentifier);

  // `window` is one of the application's, or none.
  ApplicationNames namesOf(pid_t process, xcb_window_t window);

 private:
  // What a window says about its application, most telling first.
  struct Hints {
    std::optional<std::string> desktopId;
    std::string windowClass;
    std::string windowInstance;
    std::string program;
  };

  Hints hintsOf(pid_t process, xcb_window_t window);
  std::optional<DesktopEntry> entryOf(const Hints& hints);

  XcbConnection& connection_;
  std::string applicationIdentifier_;
  DesktopEntries entries_;
};

}  // namespace platform::linux_desktop
