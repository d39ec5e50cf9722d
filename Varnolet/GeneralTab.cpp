#include "Varnolet/GeneralTab.h"

#include <QVBoxLayout>
#include <utility>

#include "Varnolet/SettingBinding.h"
#include "platform/ui/Switch.h"

namespace varnolet {

using platform::ui::FormSection;
using platform::ui::Switch;
using varnoletKit::UserSettings;

GeneralTab::GeneralTab(std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
                       std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState)
    : settingsManager_(std::move(settingsManager)), focusGuardState_(std::move(focusGuardState)) {
  auto* startup = new FormSection(QStringLiteral("Startup"), this);
  addSwitch(startup, QStringLiteral("Launch at Login"), &UserSettings::launchAtLogin);
  auto* protection = new FormSection(QStringLiteral("Protection"), this);
  addProtectionSwitch(protection);
  addSwitch(protection, QStringLiteral("Show Notifications"), &UserSettings::notificationsEnabled);
  addSwitch(protection, QStringLiteral("Notification Sound"), &UserSettings::soundEnabled);

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(20, 20, 20, 20);
  column->setSpacing(20);
  column->addWidget(startup);
  column->addWidget(protection);
  column->addStretch();
}

void GeneralTab::addSwitch(FormSection* section, const QString& title, bool UserSettings::*field) {
  auto* control = new Switch(title, section);
  section->addRow(title, control);
  redrawing_.push_back(
      varnoletKit::observe([this, control, field] { control->setChecked(settingsManager_->settings().*field); }));
  connect(control, &QCheckBox::toggled, this, [this, field](bool on) { storeSetting(*settingsManager_, field, on); });
}

// Not stored: the next launch switches it on again.
void GeneralTab::addProtectionSwitch(FormSection* section) {
  const auto title = QStringLiteral("Enable Protection");
  auto* control = new Switch(title, section);
  section->addRow(title, control);
  redrawing_.push_back(varnoletKit::observe([this, control] { control->setChecked(focusGuardState_->isEnabled()); }));
  connect(control, &QCheckBox::toggled, this, [this](bool on) { focusGuardState_->setIsEnabled(on); });
}

}  // namespace varnolet
