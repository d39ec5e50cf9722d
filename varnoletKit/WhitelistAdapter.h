// The whitelist check over the settings.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "varnoletKit/SettingsManager.h"
#include "varnoletKit/WhitelistChecking.h"

namespace varnoletKit {

class WhitelistAdapter : public WhitelistChecking {
 public:
  explicit WhitelistAdapter(std::shared_ptr<SettingsManager> settingsManager)
      : settingsManager_(std::move(settingsManager)) {}

  // The program itself always is. Reads the stored settings every time, so that an edit counts from the moment it is
  // stored. Edits of the live settings that were not saved are thereby dropped.
  bool isWhitelisted(const std::string& bundleID) override;

 private:
  std::shared_ptr<SettingsManager> settingsManager_;
};

}  // namespace varnoletKit
