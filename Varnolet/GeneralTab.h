// Settings: start at login, protection, notifications.
#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "platform/ui/FormSection.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Main thread only.
class GeneralTab : public QWidget {
 public:
  GeneralTab(std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
             std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState);

 private:
  void addSwitch(platform::ui::FormSection* section, const QString& title, bool varnoletKit::UserSettings::*field);
  void addProtectionSwitch(platform::ui::FormSection* section);

  const std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  const std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState_;
  std::vector<varnoletKit::Observation> redrawing_;
};

}  // namespace varnolet
