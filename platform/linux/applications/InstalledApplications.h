// The installed applications by their identifiers, and what they and the program say about themselves.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/stores/DesktopEntries.h"

namespace platform::linux_desktop {

// Main thread. A location is the path of a desktop entry's file.
class InstalledApplications : public BundleServices {
 public:
  explicit InstalledApplications(std::string applicationIdentifier)
      : applicationIdentifier_(std::move(applicationIdentifier)) {}

  // What NSWorkspace says of them.
  std::optional<std::filesystem::path> locationOf(const std::string& identifier);
  std::vector<std::filesystem::path> locations();
  static std::string iconOf(const std::filesystem::path& location);

  // BundleServices
  NSBundle mainBundle() override;
  std::optional<NSBundle> bundleAt(const std::filesystem::path& location) override;

 private:
  std::string applicationIdentifier_;
  DesktopEntries entries_;
};

}  // namespace platform::linux_desktop
