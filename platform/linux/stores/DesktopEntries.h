// The desktop entries of the installed applications.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform::linux_desktop {

struct DesktopEntry {
  std::string id;       // without ".desktop"; empty for a file that is in none of the applications' folders
  std::string name;     // in the user's language
  std::string program;  // the name of the executable file
  std::string icon;     // its name in the theme or the path of an image; empty if there is none
  std::filesystem::path file;
};

// Main thread. Absent unless the file is the entry of an application that can be started.
std::optional<DesktopEntry> desktopEntryAt(const std::filesystem::path& file);

// Main thread. True if some application says that it opens addresses of this scheme, such as "mailto".
bool isHandled(const std::string& scheme);

// Main thread.
class DesktopEntries {
 public:
  DesktopEntries();
  DesktopEntries(const DesktopEntries&) = delete;
  DesktopEntries& operator=(const DesktopEntries&) = delete;
  ~DesktopEntries();

  std::optional<DesktopEntry> entryWithId(const std::string& id) const;
  // The entry that says that windows of this class are its application's.
  std::optional<DesktopEntry> entryWithStartupClass(const std::string& windowClass);
  // Those that the user is to see.
  const std::vector<DesktopEntry>& entriesToShow();

 private:
  class Monitor;

  // Both are read at the first question and again after applications were installed or removed.
  std::optional<std::map<std::string, std::string>> idsByStartupClass_;
  std::optional<std::vector<DesktopEntry>> entriesToShow_;
  std::unique_ptr<Monitor> monitor_;
};

}  // namespace platform::linux_desktop
