// The user's own folders, as the XDG base directories name them.
#pragma once

#include <filesystem>
#include <optional>

namespace platform::linux_desktop {

// From HOME, else from the password entry; absent if neither tells.
std::optional<std::filesystem::path> homeFolder();
// $XDG_DATA_HOME, else ~/.local/share. A path that is not absolute counts as not set.
std::optional<std::filesystem::path> dataFolder();
// $XDG_CONFIG_HOME, else ~/.config.
std::optional<std::filesystem::path> configFolder();

}  // namespace platform::linux_desktop
