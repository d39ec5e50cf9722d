// The program as a login item: started by the desktop when the user logs in.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/NSFileManager.h"

namespace platform {

enum class SMAppServiceStatus : std::int32_t {
  notRegistered = 0,
  enabled = 1,
  requiresApproval = 2,  // registered, but the user has yet to allow it
  notFound = 3,
};

// Main thread.
class SMAppService {
 public:
  SMAppService() = default;
  SMAppService(const SMAppService&) = delete;
  SMAppService& operator=(const SMAppService&) = delete;
  virtual ~SMAppService() = default;

  // That of this program.
  static SMAppService& mainAppService();

  // As the desktop sees it now.
  virtual SMAppServiceStatus status() = 0;
  // Each answers with the error, or with nothing when it succeeded, also where there was nothing to change.
  virtual std::optional<NSError> registerService() = 0;
  virtual std::optional<NSError> unregisterService() = 0;
};

}  // namespace platform
