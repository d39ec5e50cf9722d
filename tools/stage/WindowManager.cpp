#include "tools/stage/WindowManager.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>

namespace stage {
namespace {

using std::filesystem::path;

// Also for those that have no configuration of their own for what is wanted here: the empty text.
path write(const path& file, std::string_view text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file) << text;
  return file;
}

// The one that is installed, which binds the usual keys.
std::string openboxSettings(FocusModel model) {
  std::ostringstream text;
  text << std::ifstream("/etc/xdg/openbox/rc.xml").rdbuf();
  std::string settings = text.str();
  constexpr std::string_view byClick = "<followMouse>no<";
  if (model == FocusModel::pointer) {
    settings.replace(settings.find(byClick), byClick.size(), "<followMouse>yes<");
  }
  return settings;
}

// No bar, and keys for what others bind by themselves. The first workspace bound is the one that it begins with.
constexpr std::string_view i3Settings = R"(# i3 config file (v4)
font pango:monospace 8
default_orientation horizontal
bindsym Mod1+Tab focus left
bindsym Mod1+F4 kill
bindsym Control+Mod1+Left workspace 1
bindsym Control+Mod1+Right workspace 2
)";

constexpr std::string_view xfwm4FollowsPointer =
    R"(<?xml version="1.0" encoding="UTF-8"?><channel name="xfwm4" version="1.0"><property name="general" type="empty">
<property name="click_to_focus" type="bool" value="false"/></property></channel>)";

constexpr std::string_view kwinKeys = R"([kwin]
Switch One Desktop to the Right=Ctrl+Alt+Right,none,Switch One Desktop to the Right
Switch One Desktop to the Left=Ctrl+Alt+Left,none,Switch One Desktop to the Left
)";

}  // namespace

std::string nameOf(WindowManager manager) {
  switch (manager) {
    case WindowManager::openbox:
      return "openbox";
    case WindowManager::xfwm4:
      return "xfwm4";
    case WindowManager::metacity:
      return "metacity";
    case WindowManager::i3:
      return "i3";
    case WindowManager::kwin:
      return "kwin_x11";
    case WindowManager::marco:
      return "marco";
    case WindowManager::icewm:
      return "icewm";
  }
  return {};
}

bool isInstalled(WindowManager manager) {
  std::istringstream folders(std::getenv("PATH"));  // NOLINT(concurrency-mt-unsafe)
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (::access((path(folder) / nameOf(manager)).c_str(), X_OK) == 0) return true;
  }
  return false;
}

WindowManagerStart startOf(WindowManager manager, FocusModel model, const path& settings) {
  const bool byPointer = model == FocusModel::pointer;
  WindowManagerStart start{{nameOf(manager), "--replace"}, {}};
  const auto with = [&](std::initializer_list<std::string> options) {
    start.command.insert(start.command.end(), options);
  };
  switch (manager) {
    case WindowManager::openbox:
      with({"--sm-disable", "--config-file", write(settings / "openbox.xml", openboxSettings(model))});
      break;
    case WindowManager::xfwm4:
      with({"--sm-client-disable", "--compositor=off"});
      if (byPointer) write(settings / "xfce4/xfconf/xfce-perchannel-xml/xfwm4.xml", xfwm4FollowsPointer);
      break;
    case WindowManager::metacity:
    case WindowManager::marco:
      with({"--sm-disable", "--no-composite"});
      start.besides["GSETTINGS_BACKEND"] = "keyfile";
      if (byPointer) {
        write(settings / "glib-2.0/settings/keyfile",
              "[org/gnome/desktop/wm/preferences]\nfocus-mode='sloppy'\n"
              "[org/mate/marco/general]\nfocus-mode='sloppy'\n");
      }
      break;
    case WindowManager::i3:
      with({"-c", write(settings / "i3", i3Settings)});
      break;
    case WindowManager::kwin:
      start.besides = {{"LIBGL_ALWAYS_SOFTWARE", "1"}, {"QT_QPA_PLATFORM", "xcb"}};
      write(settings / "kglobalshortcutsrc", kwinKeys);
      write(settings / "kwinrc", std::string("[Compositing]\nEnabled=false\n[Desktops]\nNumber=2\nRows=1\n") +
                                     (byPointer ? "[Windows]\nFocusPolicy=FocusFollowsMouse\n" : ""));
      break;
    case WindowManager::icewm:
      start.besides["ICEWM_PRIVCFG"] = settings / "icewm";
      write(settings / "icewm/preferences", "ShowTaskBar=0\nWin95Keys=0\n");
      write(settings / "icewm/focus_mode", byPointer ? "FocusMode=2\n" : "FocusMode=1\n");
      break;
  }
  return start;
}

}  // namespace stage
