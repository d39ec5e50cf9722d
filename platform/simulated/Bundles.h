// The installed applications of the simulated desktop, and what the program says about itself.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Desktop.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {

// Main thread.
class Bundles final : public BundleServices {
 public:
  // The verbs of SimulatedDesktop. What was installed at the same location before is replaced.
  void install(const InstalledApplication& application);
  void setMainBundleInfo(std::map<std::string, std::string, std::less<>> infoDictionary);

  const std::map<std::filesystem::path, InstalledApplication>& applications() const { return applications_; }
  // Null if there is none.
  const InstalledApplication* find(const std::filesystem::path& location) const;

  // BundleServices
  NSBundle mainBundle() override { return mainBundle_; }
  std::optional<NSBundle> bundleAt(const std::filesystem::path& location) override;

 private:
  std::map<std::filesystem::path, InstalledApplication> applications_;
  NSBundle mainBundle_{"app.varnolet.Varnolet", {}};
};

}  // namespace platform::simulated
