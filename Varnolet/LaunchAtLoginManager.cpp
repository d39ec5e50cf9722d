#include "Varnolet/LaunchAtLoginManager.h"

#include <optional>
#include <utility>

#include "platform/Log.h"
#include "platform/SMAppService.h"

namespace varnolet {
namespace {

constexpr platform::Logger lifecycleLog(platform::LogCategory::lifecycle);

}  // namespace

LaunchAtLoginManager::LaunchAtLoginManager(std::shared_ptr<varnoletKit::SettingsManager> settingsManager)
    : settingsManager_(std::move(settingsManager)),
      isEnabled_(platform::SMAppService::mainAppService().status() == platform::SMAppServiceStatus::enabled),
      lastChoice_(settingsManager_->settings().launchAtLogin),
      choice_(varnoletKit::observe([this] { applyChoice(settingsManager_->settings().launchAtLogin); })) {}

void LaunchAtLoginManager::applyChoice(bool launchAtLogin) {
  if (std::exchange(lastChoice_, launchAtLogin) == launchAtLogin) return;
  auto& loginItem = platform::SMAppService::mainAppService();
  if (launchAtLogin) {
    if (const auto error = loginItem.registerService()) {
      lifecycleLog.error("Failed to add the login item: %s", error->localizedDescription);
    }
  } else if (const auto error = loginItem.unregisterService()) {
    lifecycleLog.error("Failed to remove the login item: %s", error->localizedDescription);
  }
}

}  // namespace varnolet
