#include "platform/simulated/Bundles.h"

#include <utility>

namespace platform::simulated {

void Bundles::install(const InstalledApplication& application) {
  applications_[application.location] = application;
}

void Bundles::setMainBundleInfo(std::map<std::string, std::string, std::less<>> infoDictionary) {
  mainBundle_.infoDictionary = std::move(infoDictionary);
}

const InstalledApplication* Bundles::find(const std::filesystem::path& location) const {
  const auto found = applications_.find(location);
  return found == applications_.end() ? nullptr : &found->second;
}

std::optional<NSBundle> Bundles::bundleAt(const std::filesystem::path& location) {
  const auto* application = find(location);
  if (!application) return std::nullopt;
  return NSBundle{application->bundleIdentifier, {}};
}

}  // namespace platform::simulated
