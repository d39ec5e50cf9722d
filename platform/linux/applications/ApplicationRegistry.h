// The applications of the desktop, known to every thread.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/NSRunningApplication.h"
#include "platform/linux/applications/ApplicationNames.h"

namespace platform::linux_desktop {

// Brings applications to the front. Main thread.
class ApplicationActivator {
 public:
  virtual ~ApplicationActivator() = default;
  // False if nothing could be asked of the desktop.
  virtual bool activate(pid_t process) = 0;
};

// One application. Its activator must outlive it.
class ApplicationRecord : public RunningApplicationRecord {
 public:
  ApplicationRecord(pid_t process, ApplicationActivator& activator) : process_(process), activator_(activator) {}

  std::optional<std::string> bundleIdentifier() const override;
  std::optional<std::string> localizedName() const override;
  std::int32_t processIdentifier() const override { return process_; }
  bool isTerminated() const override { return isTerminated_; }
  bool activate(NSApplicationActivationOptions options) const override;

  void setNames(ApplicationNames names);
  void terminate() { isTerminated_ = true; }

 private:
  const pid_t process_;
  ApplicationActivator& activator_;
  mutable std::mutex mutex_;
  ApplicationNames names_;
  std::atomic<bool> isTerminated_ = false;
};

// Any thread. Never waits for the X server: the event tap asks while it holds that.
class ApplicationRegistry {
 public:
  explicit ApplicationRegistry(ApplicationActivator& activator) : activator_(activator) {}

  // The application of a process, the same record each time. One that is not known yet has no names for now.
  std::shared_ptr<ApplicationRecord> recordOf(pid_t process);
  std::shared_ptr<ApplicationRecord> find(pid_t process) const;
  // Its record reports isTerminated from now on, and the process, should it come back, is another application.
  void terminate(pid_t process);
  // Drops the records that recordOf() made, unless they are of `kept`.
  void keepOnly(const std::vector<pid_t>& kept);

  void setFrontmost(std::optional<pid_t> process);
  std::optional<pid_t> frontmost() const;

 private:
  ApplicationActivator& activator_;
  mutable std::mutex mutex_;
  std::map<pid_t, std::shared_ptr<ApplicationRecord>> records_;
  std::optional<pid_t> frontmost_;
};

}  // namespace platform::linux_desktop
