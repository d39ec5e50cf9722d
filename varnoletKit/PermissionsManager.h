// Whether the desktop lets this program do its work.
#pragma once

#include "varnoletKit/ObservationRegistrar.h"

namespace varnoletKit {

// The answers are observable (Observation.h) and as old as the latest reading; nothing here notices a change by itself,
// and nothing asks the user. Main thread only.
class PermissionsManager {
 public:
  // Takes the first reading.
  PermissionsManager();

  // Other applications can be watched and brought to the front.
  bool accessibilityGranted() const { return registrar_.read(accessibilityGranted_); }
  // Keys and mouse buttons of the whole desktop can be seen.
  bool inputMonitoringGranted() const { return registrar_.read(inputMonitoringGranted_); }
  bool allPermissionsGranted() const { return accessibilityGranted() && inputMonitoringGranted(); }

  // Each takes a new reading.
  void refreshPermissions();
  void recheckPermissions() { refreshPermissions(); }

  // Each shows where the user can grant the permission, if the desktop has such a place.
  void openAccessibilitySettings();
  void openInputMonitoringSettings();

 private:
  bool accessibilityGranted_ = false;
  bool inputMonitoringGranted_ = false;
  ObservationRegistrar registrar_;
};

}  // namespace varnoletKit
