#include "platform/linux/applications/ApplicationRegistry.h"

#include <algorithm>
#include <utility>

namespace platform::linux_desktop {

std::optional<std::string> ApplicationRecord::bundleIdentifier() const {
  const std::lock_guard lock(mutex_);
  return names_.bundleIdentifier;
}

std::optional<std::string> ApplicationRecord::localizedName() const {
  const std::lock_guard lock(mutex_);
  return names_.localizedName;
}

bool ApplicationRecord::activate(NSApplicationActivationOptions) const {
  return !isTerminated_ && activator_.activate(process_);
}

void ApplicationRecord::setNames(ApplicationNames names) {
  const std::lock_guard lock(mutex_);
  names_ = std::move(names);
}

std::shared_ptr<ApplicationRecord> ApplicationRegistry::recordOf(pid_t process) {
  const std::lock_guard lock(mutex_);
  auto& record = records_[process];
  if (!record) record = std::make_shared<ApplicationRecord>(process, activator_);
  return record;
}

std::shared_ptr<ApplicationRecord> ApplicationRegistry::find(pid_t process) const {
  const std::lock_guard lock(mutex_);
  const auto found = records_.find(process);
  return found == records_.end() ? nullptr : found->second;
}

void ApplicationRegistry::terminate(pid_t process) {
  const std::lock_guard lock(mutex_);
  const auto found = records_.find(process);
  if (found == records_.end()) return;
  found->second->terminate();
  records_.erase(found);
}

void ApplicationRegistry::keepOnly(const std::vector<pid_t>& kept) {
  const std::lock_guard lock(mutex_);
  std::erase_if(records_,
                [&](const auto& entry) { return std::find(kept.begin(), kept.end(), entry.first) == kept.end(); });
}

void ApplicationRegistry::setFrontmost(std::optional<pid_t> process) {
  const std::lock_guard lock(mutex_);
  frontmost_ = process;
}

std::optional<pid_t> ApplicationRegistry::frontmost() const {
  const std::lock_guard lock(mutex_);
  return frontmost_;
}

}  // namespace platform::linux_desktop
