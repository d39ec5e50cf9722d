// The login item of the simulated desktop.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/SMAppService.h"

namespace platform::simulated {

// Main thread.
class LoginItem final : public SMAppService {
 public:
  // The verbs of SimulatedDesktop.
  void setStatus(SMAppServiceStatus status) { status_ = status; }
  void failChanges(std::optional<std::string> description) { failure_ = std::move(description); }
  const std::vector<bool>& changes() const { return changes_; }

  // SMAppService
  SMAppServiceStatus status() override { return status_; }
  std::optional<NSError> registerService() override { return change(true, SMAppServiceStatus::enabled); }
  std::optional<NSError> unregisterService() override { return change(false, SMAppServiceStatus::notRegistered); }

 private:
  std::optional<NSError> change(bool registers, SMAppServiceStatus status) {
    changes_.push_back(registers);
    if (failure_) return NSError{*failure_};
    status_ = status;
    return std::nullopt;
  }

  SMAppServiceStatus status_ = SMAppServiceStatus::notRegistered;
  std::optional<std::string> failure_;
  std::vector<bool> changes_;
};

}  // namespace platform::simulated
