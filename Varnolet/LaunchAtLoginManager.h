// Whether the desktop starts the program when the user logs in.
#pragma once

#include <memory>

#include "varnoletKit/Observation.h"
#include "varnoletKit/ObservationRegistrar.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Applies the choice in the settings to the desktop's login items each time that it changes, as long as this object
// lives; a failure is logged. Main thread only.
class LaunchAtLoginManager {
 public:
  // Reads how things stand and changes nothing: what the user arranged in the desktop's own settings stays.
  explicit LaunchAtLoginManager(std::shared_ptr<varnoletKit::SettingsManager> settingsManager);
  LaunchAtLoginManager(const LaunchAtLoginManager&) = delete;
  LaunchAtLoginManager& operator=(const LaunchAtLoginManager&) = delete;

  // Whether the program was a login item when this object was made. Observable (varnoletKit/Observation.h).
  bool isEnabled() const { return registrar_.read(isEnabled_); }

 private:
  void applyChoice(bool launchAtLogin);

  const std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  bool isEnabled_;
  bool lastChoice_;
  varnoletKit::ObservationRegistrar registrar_;
  varnoletKit::Observation choice_;
};

}  // namespace varnolet
