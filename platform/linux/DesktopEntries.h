// The desktop entries of the installed applications.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace platform::linux_desktop {

struct DesktopEntry {
  std::string id;    // without ".desktop"
  std::string name;  // in the user's language
};

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

 private:
  class Monitor;

  // Read at the first question and again after applications were installed or removed.
  std::optional<std::map<std::string, std::string>> idsByStartupClass_;
  std::unique_ptr<Monitor> monitor_;
};

}  // namespace platform::linux_desktop
