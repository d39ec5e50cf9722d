// Opens addresses in the desktop's programs.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

namespace platform::linux_desktop {

// Main thread. Nothing here waits for a program.
//
// The addresses of the panes of settings where a permission is given open the settings program of the desktop that
// XDG_CURRENT_DESKTOP names, if it is installed, else the help page about that permission.
class URLOpener {
 public:
  // `helpFolder` has the pages.
  explicit URLOpener(std::filesystem::path helpFolder = installedHelpFolder()) : helpFolder_(std::move(helpFolder)) {}

  // As NSWorkspace::openURL. False also for an address that no program handles.
  bool open(const std::string& url) const;

 private:
  // Where it is installed with the program, or in the sources if the program was not installed.
  static std::filesystem::path installedHelpFolder();

  bool openPermissionSettings(const char* helpPage) const;

  std::filesystem::path helpFolder_;
};

}  // namespace platform::linux_desktop
