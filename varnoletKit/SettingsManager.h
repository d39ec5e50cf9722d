// The live settings, and their place in the user-defaults store.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/UserDefaults.h"
#include "varnoletKit/ObservationRegistrar.h"
#include "varnoletKit/UserSettings.h"

namespace varnoletKit {

// `settings` is observable (Observation.h). Failures are logged, none is reported to the caller. Main thread only.
class SettingsManager {
 public:
  // Opens the suite of that name; without a name, or if the desktop refuses it, the standard store. The settings are
  // the stored ones, or the defaults where none can be read; nothing is written.
  explicit SettingsManager(const std::optional<std::string>& suiteName);
  // Uses this store, which must not be null.
  explicit SettingsManager(std::shared_ptr<platform::UserDefaults> defaults);

  UserSettings settings() const { return registrar_.read(settings_); }
  // Changes the record in memory only: save() afterwards, or the next load() takes the change back.
  void setSettings(UserSettings settings) { registrar_.write(settings_, std::move(settings)); }

  // Takes over what is stored now, by whomever, and returns it. Where nothing is stored or it cannot be read, returns
  // the defaults and leaves `settings` as they are.
  UserSettings load();

  // Stores the settings, or the given ones without taking them over. What is stored and cannot be decoded is set aside
  // first. If that fails, or if the settings cannot be encoded, the store keeps its value.
  void save();
  void save(const UserSettings& settings);

  // Each stores the settings at once, and tells the observers even if nothing changed. An identifier is used as given.
  void addToWhitelist(const std::string& bundleID);
  // A built-in identifier leaves the record only; it stays whitelisted.
  void removeFromWhitelist(const std::string& bundleID);
  // Adds the built-in identifiers to the user's own.
  void resetWhitelistToDefaults();

 private:
  std::shared_ptr<platform::UserDefaults> defaults_;
  UserSettings settings_;
  ObservationRegistrar registrar_;
};

}  // namespace varnoletKit
