// The settings stores: one file a suite in the user's configuration folder, private to the user.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/Desktop.h"

namespace platform::linux_desktop {

// Main thread.
class LinuxUserDefaults : public UserDefaultsServices {
 public:
  // The standard store is the suite of that name.
  explicit LinuxUserDefaults(std::string applicationIdentifier);

  // Null for names that cannot be a file's name. The same store for the same name, as long as it is held.
  std::shared_ptr<UserDefaults> suite(const std::string& suiteName) override;
  std::shared_ptr<UserDefaults> standard() override;

 private:
  std::string applicationIdentifier_;
  std::map<std::string, std::weak_ptr<UserDefaults>> suites_;
};

}  // namespace platform::linux_desktop
