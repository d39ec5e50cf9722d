// What an application is called, from what its window and its process say.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/linux/applications/ProcessProgram.h"
#include "platform/linux/stores/DesktopEntries.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

struct ApplicationNames {
  std::optional<std::string> bundleIdentifier;
  std::optional<std::string> localizedName;
};

// The identifier of a desktop entry in what a window says: "id", "id.desktop" or the path of its file. Absent if none.
std::optional<std::string> desktopIdIn(const std::optional<std::string>& text);

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
  // What a window and its process say about their application, most telling first.
  struct Hints {
    std::optional<std::string> desktopId;
    std::string windowClass;
    std::string windowInstance;
    std::string program;
  };

  // Without the identifiers that are not for the window's process to claim: those of the desktop's agents and our own.
  Hints hintsOf(pid_t process, const ProcessProgram& program, xcb_window_t window);
  bool mayBeCalled(pid_t process, const std::string& id) const;
  std::optional<DesktopEntry> entryOf(pid_t process, const Hints& hints);

  XcbConnection& connection_;
  std::string applicationIdentifier_;
  DesktopEntries entries_;
};

}  // namespace platform::linux_desktop
