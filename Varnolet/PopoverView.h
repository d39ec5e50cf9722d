// What hangs from the icon: the state of the protection, and the way to everything else.
#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "Varnolet/PauseManager.h"
#include "platform/NSNotificationCenter.h"
#include "platform/ui/Label.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/SettingsManager.h"

class QVBoxLayout;

namespace varnolet {

// Redrawn at each change of the state and of a pause, and when an application ends; the relative time only then. Main
// thread only.
class PopoverView : public QWidget {
 public:
  // Called on the main thread. They may delete the view.
  struct Callbacks {
    std::function<void()> onShowLog;
    std::function<void()> onShowSettings;
    std::function<void()> onShowWhitelist;
  };

  PopoverView(std::shared_ptr<varnoletKit::FocusGuardState> state,
              std::shared_ptr<varnoletKit::SettingsManager> settingsManager, std::shared_ptr<PauseManager> pauseManager,
              Callbacks callbacks);
  ~PopoverView() override;

 private:
  void addStatusBlock(QVBoxLayout* column);
  void addPauseBlock(QVBoxLayout* column);
  void addFooter(QVBoxLayout* column, Callbacks callbacks);
  void redraw();
  void redrawStatus();
  void fitWidth();

  const std::shared_ptr<varnoletKit::FocusGuardState> state_;
  const std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  const std::shared_ptr<PauseManager> pauseManager_;
  platform::ui::Label* header_ = nullptr;
  platform::ui::Label* protecting_ = nullptr;
  platform::ui::Label* lastBlocked_ = nullptr;
  platform::ui::Label* blockedToday_ = nullptr;
  QWidget* pauseButtons_ = nullptr;
  QWidget* resumeButton_ = nullptr;
  varnoletKit::Observation redrawing_;
  const platform::NSNotificationCenter::ObserverToken terminations_;
};

}  // namespace varnolet
