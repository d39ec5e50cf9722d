// The window managers that a virtual desktop may have.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/stage/ChildProcess.h"

namespace stage {

enum class WindowManager { openbox, xfwm4, metacity, i3, kwin, marco, icewm };
inline constexpr std::array everyWindowManager{WindowManager::openbox, WindowManager::xfwm4, WindowManager::metacity,
                                               WindowManager::i3,      WindowManager::kwin,  WindowManager::marco,
                                               WindowManager::icewm};

// What gives a window the focus. i3 is left as it comes: it follows the pointer in either case.
enum class FocusModel { click, pointer };

// The name of its program.
std::string nameOf(WindowManager manager);
bool isInstalled(WindowManager manager);

// How to start it in place of another, with what that takes written below the folder of the user's settings.
struct WindowManagerStart {
  std::vector<std::string> command;
  Environment besides;
};
WindowManagerStart startOf(WindowManager manager, FocusModel model, const std::filesystem::path& settings);

}  // namespace stage
