// Keeps the icon in the tray in step with the state of the protection.
#pragma once

#include <memory>

#include "Varnolet/PauseManager.h"
#include "platform/Tasks.h"
#include "platform/ui/NSStatusItem.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/Observation.h"

namespace varnolet {

// Green while protection is on, grey while it is off or paused, and orange for half a second after each blocked theft.
// Main thread only.
class MenuBarController {
 public:
  // Draws the icon at once.
  MenuBarController(std::shared_ptr<platform::ui::NSStatusItem> statusItem,
                    std::shared_ptr<varnoletKit::FocusGuardState> state, std::shared_ptr<PauseManager> pauseManager);
  MenuBarController(const MenuBarController&) = delete;
  MenuBarController& operator=(const MenuBarController&) = delete;

  // A flash that is on begins anew.
  void flash();

 private:
  void startObserving();
  void updateIcon(bool isProtecting);
  void endFlash();
  void drawIcon(const QColor& color);
  bool isProtecting() const { return state_->isEnabled() && !pauseManager_->isPaused(); }

  const std::shared_ptr<platform::ui::NSStatusItem> statusItem_;
  const std::shared_ptr<varnoletKit::FocusGuardState> state_;
  const std::shared_ptr<PauseManager> pauseManager_;
  platform::ScheduledTask flashTimer_;
  bool isFlashing_ = false;
  varnoletKit::Observation observationTask_;
};

}  // namespace varnolet
