// Where the tests' applications are installed.
#pragma once

#include <filesystem>

namespace platform::linux_desktop {

// The folder is the same for the whole process, because GLib goes on looking where it looked first. The first call has
// to come before anything asks for a desktop entry.
const std::filesystem::path& desktopEntriesFolder();

}  // namespace platform::linux_desktop
