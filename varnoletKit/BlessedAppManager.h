// The rule of the whitelist: the built-in entries, joined with the user's own.
#pragma once

#include <set>
#include <string>

namespace varnoletKit {

// Identifiers are compared exactly: case matters, there are no patterns. Shared members only. Any thread.
class BlessedAppManager {
 public:
  BlessedAppManager() = delete;

  // What may always take the focus: the desktop's own dialogs for passwords, log-in and screenshots, its panel and
  // settings, calls, and assistive tools.
  static const std::set<std::string>& defaultWhitelist();

  static bool isWhitelisted(const std::string& bundleID, const std::set<std::string>& userEntries);
  static std::set<std::string> mergedWhitelist(const std::set<std::string>& userEntries);
  // `entries` without the built-in ones.
  static std::set<std::string> userOnlyEntries(const std::set<std::string>& entries);
};

}  // namespace varnoletKit
