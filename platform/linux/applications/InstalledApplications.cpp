#include "platform/linux/applications/InstalledApplications.h"

#include "platform/linux/applications/AgentRoles.h"
#include "platform/linux/applications/ApplicationNames.h"

namespace platform::linux_desktop {

std::optional<std::filesystem::path> InstalledApplications::locationOf(const std::string& identifier) {
  if (const auto entry = entries_.entryWithId(identifier); entry && bundleIdentifierOf(*entry) == identifier) {
    return entry->file;
  }
  if (!isAgentRole(identifier)) return std::nullopt;
  for (const auto& entry : entries_.entriesToShow()) {
    if (bundleIdentifierOf(entry) == identifier) return entry.file;
  }
  return std::nullopt;
}

std::vector<std::filesystem::path> InstalledApplications::locations() {
  std::vector<std::filesystem::path> locations;
  for (const auto& entry : entries_.entriesToShow()) locations.push_back(entry.file);
  return locations;
}

std::string InstalledApplications::iconOf(const std::filesystem::path& location) {
  const auto entry = desktopEntryAt(location);
  return entry ? entry->icon : std::string();
}

NSBundle InstalledApplications::mainBundle() {
  return {applicationIdentifier_,
          {{"CFBundleShortVersionString", VARNOLET_VERSION}, {"CFBundleVersion", VARNOLET_BUILD_NUMBER}}};
}

std::optional<NSBundle> InstalledApplications::bundleAt(const std::filesystem::path& location) {
  const auto entry = desktopEntryAt(location);
  if (!entry) return std::nullopt;
  return NSBundle{bundleIdentifierOf(*entry), {}};
}

}  // namespace platform::linux_desktop
