#include "varnoletKit/SettingsManager.h"

#include <cassert>
#include <utility>
#include <variant>

#include "platform/Log.h"
#include "platform/Tasks.h"
#include "varnoletKit/BlessedAppManager.h"
#include "varnoletKit/UserSettingsCoding.h"

namespace varnoletKit {
namespace {

constexpr platform::Logger lifecycleLog(platform::LogCategory::lifecycle);
constexpr char storedKey[] = "userSettings";

std::shared_ptr<platform::UserDefaults> openSuite(const std::optional<std::string>& suiteName) {
  auto suite = suiteName ? platform::UserDefaults::suite(*suiteName) : nullptr;
  return suite ? suite : platform::UserDefaults::standard();
}

}  // namespace

SettingsManager::SettingsManager(const std::optional<std::string>& suiteName) : SettingsManager(openSuite(suiteName)) {}

SettingsManager::SettingsManager(std::shared_ptr<platform::UserDefaults> defaults) : defaults_(std::move(defaults)) {
  assert(platform::isMainThread());
  const auto stored = defaults_->data(storedKey);
  if (!stored) return;
  auto decoded = decodeUserSettings(*stored);
  if (auto* settings = std::get_if<UserSettings>(&decoded)) settings_ = std::move(*settings);
}

UserSettings SettingsManager::load() {
  assert(platform::isMainThread());
  const auto stored = defaults_->data(storedKey);
  if (!stored) return {};
  auto decoded = decodeUserSettings(*stored);
  if (const auto* error = std::get_if<CodingError>(&decoded)) {
    lifecycleLog.error("Failed to decode UserSettings: %s", error->description);
    return {};
  }
  auto& settings = std::get<UserSettings>(decoded);
  registrar_.write(settings_, settings);
  return std::move(settings);
}

void SettingsManager::save() {
  save(settings_);
}

void SettingsManager::save(const UserSettings& settings) {
  assert(platform::isMainThread());
  const auto encoded = encodeUserSettings(settings);
  if (const auto* error = std::get_if<CodingError>(&encoded)) {
    lifecycleLog.error("Failed to encode UserSettings: %s", error->description);
    return;
  }
  const auto stored = defaults_->data(storedKey);
  const bool isLost = stored && std::holds_alternative<CodingError>(decodeUserSettings(*stored));
  if (isLost && !defaults_->setAside()) return;
  defaults_->set(std::get<std::string>(encoded), storedKey);
}

void SettingsManager::addToWhitelist(const std::string& bundleID) {
  registrar_.modify(settings_, [&](UserSettings& settings) { settings.whitelist.insert(bundleID); });
  save();
}

void SettingsManager::removeFromWhitelist(const std::string& bundleID) {
  registrar_.modify(settings_, [&](UserSettings& settings) { settings.whitelist.erase(bundleID); });
  save();
}

void SettingsManager::resetWhitelistToDefaults() {
  registrar_.modify(settings_, [](UserSettings& settings) {
    settings.whitelist = BlessedAppManager::mergedWhitelist(BlessedAppManager::userOnlyEntries(settings.whitelist));
  });
  save();
}

}  // namespace varnoletKit
