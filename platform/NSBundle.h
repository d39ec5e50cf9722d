// What an application says about itself.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace platform {

// Main thread.
struct NSBundle {
  // Absent where the application has none.
  std::optional<std::string> bundleIdentifier;
  // Texts under their keys, such as "CFBundleShortVersionString" and "CFBundleVersion".
  std::map<std::string, std::string, std::less<>> infoDictionary;

  // The running program's own.
  static NSBundle mainBundle();
  // Absent if there is no application at that location.
  static std::optional<NSBundle> bundleWithURL(const std::filesystem::path& location);
};

}  // namespace platform
