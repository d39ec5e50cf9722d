#include "tests/platform/linux/applications/DesktopEntriesFolder.h"

#include "platform/linux/stores/DesktopEntries.h"
#include "tests/platform/linux/TestFolder.h"

namespace platform::linux_desktop {

const std::filesystem::path& desktopEntriesFolder() {
  static const TestFolder data;
  static const std::filesystem::path folder = [] {
    auto applications = data / "applications";
    std::filesystem::create_directory(applications);
    const TestEnvironment environment(
        std::vector<std::pair<const char*, const char*>>{{"XDG_DATA_HOME", data.path().c_str()}});
    DesktopEntries().entryWithId("anything");
    return applications;
  }();
  return folder;
}

}  // namespace platform::linux_desktop
