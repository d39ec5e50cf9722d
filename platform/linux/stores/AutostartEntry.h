// The login item: an entry in the user's XDG autostart folder.
#pragma once

#include <filesystem>
#include <string>

#include "platform/SMAppService.h"

namespace platform::linux_desktop {

// Main thread. Every operation looks at the folder anew: the desktop's own settings write there too.
class AutostartEntry : public SMAppService {
 public:
  // The entry "<applicationIdentifier>.desktop", which starts `executable`, an absolute path.
  AutostartEntry(std::string applicationIdentifier, std::filesystem::path executable);

  // Enabled if there is an entry that can be read and that does not say that it is to be ignored.
  SMAppServiceStatus status() override;
  // Replaces an entry that is there.
  std::optional<NSError> registerService() override;
  std::optional<NSError> unregisterService() override;

 private:
  // Absent if the user has no configuration folder.
  std::optional<std::filesystem::path> file() const;
  std::string contents() const;

  const std::string applicationIdentifier_;
  const std::filesystem::path executable_;
};

}  // namespace platform::linux_desktop
