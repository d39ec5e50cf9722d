#include "varnoletKit/WhitelistAdapter.h"

#include "varnoletKit/BlessedAppManager.h"

namespace varnoletKit {

bool WhitelistAdapter::isWhitelisted(const std::string& bundleID) {
  const UserSettings settings = settingsManager_->load();
  return BlessedAppManager::isWhitelisted(bundleID, settings.whitelist);
}

}  // namespace varnoletKit
