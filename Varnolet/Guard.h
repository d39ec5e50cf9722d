// The engine and the services that it needs, for the life of the process.
#pragma once

#include <memory>

#include "Varnolet/LaunchAtLoginManager.h"
#include "Varnolet/NotificationManager.h"
#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/FocusGuardEngine.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/PermissionsManager.h"
#include "varnoletKit/SettingsManager.h"

// Main thread, on an installed desktop.
class Guard {
 public:
  // Removes what is too old from the log of blocked events, and guards nothing yet.
  Guard();
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  // Stops the engine.
  ~Guard();

  // Reads the permissions anew, and starts the engine if both are there and it does not run. Whether it runs then; one
  // that runs stays so.
  bool startIfPermitted();

 private:
  std::shared_ptr<varnoletKit::FocusGuardState> state_;
  std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  varnoletKit::PermissionsManager permissionsManager_;
  std::shared_ptr<varnoletKit::EventLogManager> eventLogManager_;
  std::shared_ptr<varnolet::NotificationManager> notificationManager_;
  varnolet::LaunchAtLoginManager launchAtLoginManager_;
  std::shared_ptr<varnoletKit::FocusGuardEngine> engine_;
  bool isGuarding_ = false;
};
