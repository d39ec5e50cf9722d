// The whitelist, as the engine asks for it.
#pragma once

#include <string>

namespace varnoletKit {

class WhitelistChecking {
 public:
  WhitelistChecking() = default;
  WhitelistChecking(const WhitelistChecking&) = delete;
  WhitelistChecking& operator=(const WhitelistChecking&) = delete;
  virtual ~WhitelistChecking() = default;

  // True if the application may take the focus without a gesture of the user. The identifier is compared exactly. Main
  // thread.
  virtual bool isWhitelisted(const std::string& bundleID) = 0;
};

}  // namespace varnoletKit
