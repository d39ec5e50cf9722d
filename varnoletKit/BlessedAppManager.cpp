#include "varnoletKit/BlessedAppManager.h"

namespace varnoletKit {

const std::set<std::string>& BlessedAppManager::defaultWhitelist() {
  static const std::set<std::string> entries{
      "com.apple.SecurityAgent",     "com.apple.loginwindow",    "com.apple.UserNotificationCenter",
      "com.apple.screencaptureui",   "com.apple.systemuiserver", "com.apple.FaceTime",
      "com.apple.systempreferences", "com.apple.voiceover",      "com.apple.accessibilityinspector"};
  return entries;
}

bool BlessedAppManager::isWhitelisted(const std::string& bundleID, const std::set<std::string>& userEntries) {
  return defaultWhitelist().contains(bundleID) || userEntries.contains(bundleID);
}

std::set<std::string> BlessedAppManager::mergedWhitelist(const std::set<std::string>& userEntries) {
  std::set<std::string> merged = defaultWhitelist();
  merged.insert(userEntries.begin(), userEntries.end());
  return merged;
}

std::set<std::string> BlessedAppManager::userOnlyEntries(const std::set<std::string>& entries) {
  std::set<std::string> own = entries;
  std::erase_if(own, [](const std::string& entry) { return defaultWhitelist().contains(entry); });
  return own;
}

}  // namespace varnoletKit
