#include "varnoletKit/WhitelistAdapter.h"

#include "varnoletKit/ApplicationIdentifier.h"
#include "varnoletKit/BlessedAppManager.h"

namespace varnoletKit {

bool WhitelistAdapter::isWhitelisted(const std::string& bundleID) {
  const UserSettings settings = settingsManager_->load();
  // The program's own windows open only when the user asks for them, though perhaps with a key that is no gesture.
  if (bundleID == applicationIdentifier) return true;
  return BlessedAppManager::isWhitelisted(bundleID, settings.whitelist);
}

}  // namespace varnoletKit
