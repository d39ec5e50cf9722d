// How the controls of the settings window write into the settings.
#pragma once

#include <utility>

#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Changes one field of the record and stores it; does nothing if it has the value. Main thread.
template <class T>
void storeSetting(varnoletKit::SettingsManager& settingsManager, T varnoletKit::UserSettings::*field, T value) {
  varnoletKit::UserSettings settings = settingsManager.settings();
  if (settings.*field == value) return;
  settings.*field = value;
  settingsManager.setSettings(std::move(settings));
  settingsManager.save();
}

}  // namespace varnolet
