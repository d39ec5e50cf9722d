#include "platform/linux/applications/AgentRoles.h"

#include <algorithm>
#include <array>

namespace platform::linux_desktop {
namespace {

constexpr std::string_view securityAgent = "com.apple.SecurityAgent";
constexpr std::string_view loginWindow = "com.apple.loginwindow";
constexpr std::string_view notifications = "com.apple.UserNotificationCenter";
constexpr std::string_view screenshots = "com.apple.screencaptureui";
constexpr std::string_view panels = "com.apple.systemuiserver";
constexpr std::string_view preferences = "com.apple.systempreferences";
constexpr std::string_view screenReader = "com.apple.voiceover";
constexpr std::string_view accessibilityInspector = "com.apple.accessibilityinspector";

// The roles' identifiers, and those of the built-in whitelist that nothing here plays, all begin so.
constexpr std::string_view roleNamespace = "com.apple.";

struct Role {
  std::string_view program;
  std::string_view identifier;
  bool isScript = false;
};

constexpr auto roles = std::to_array<Role>({
    // Password and authorisation prompts.
    {"gcr-prompter", securityAgent},
    {"gcr4-ssh-askpass", securityAgent},
    {"gnome-ssh-askpass", securityAgent},
    {"gnome-ssh-askpass3", securityAgent},
    {"kwalletd5", securityAgent},
    {"kwalletd6", securityAgent},
    {"ksshaskpass", securityAgent},
    {"lxpolkit", securityAgent},
    {"lxqt-openssh-askpass", securityAgent},
    {"lxqt-policykit-agent", securityAgent},
    {"pinentry", securityAgent},
    {"pinentry-fltk", securityAgent},
    {"pinentry-gnome3", securityAgent},
    {"pinentry-gtk-2", securityAgent},
    {"pinentry-kwallet", securityAgent},
    {"pinentry-qt", securityAgent},
    {"pinentry-qt4", securityAgent},
    {"pinentry-qt5", securityAgent},
    {"pinentry-x11", securityAgent},
    {"polkit-gnome-authentication-agent-1", securityAgent},
    {"polkit-kde-authentication-agent-1", securityAgent},
    {"polkit-mate-authentication-agent-1", securityAgent},
    {"x11-ssh-askpass", securityAgent},
    {"xfce-polkit", securityAgent},
    // Greeters and screen lockers.
    {"cinnamon-screensaver", loginWindow, true},
    {"gnome-screensaver", loginWindow},
    {"gnome-screensaver-dialog", loginWindow},
    {"i3lock", loginWindow},
    {"kscreenlocker_greet", loginWindow},
    {"light-locker", loginWindow},
    {"lightdm-gtk-greeter", loginWindow},
    {"lightdm-kde-greeter", loginWindow},
    {"mate-screensaver", loginWindow},
    {"mate-screensaver-dialog", loginWindow},
    {"sddm-greeter", loginWindow},
    {"sddm-greeter-qt6", loginWindow},
    {"slick-greeter", loginWindow},
    {"slock", loginWindow},
    {"unity-greeter", loginWindow},
    {"xfce4-screensaver", loginWindow},
    {"xfce4-screensaver-dialog", loginWindow},
    {"xlock", loginWindow},
    {"xscreensaver", loginWindow},
    {"xscreensaver-auth", loginWindow},
    {"xscreensaver-gfx", loginWindow},
    {"xsecurelock", loginWindow},
    {"xtrlock", loginWindow},
    // Notification daemons.
    {"dunst", notifications},
    {"lxqt-notificationd", notifications},
    {"mate-notification-daemon", notifications},
    {"notification-daemon", notifications},
    {"notify-osd", notifications},
    {"xfce4-notifyd", notifications},
    // Screenshot tools.
    {"deepin-screenshot", screenshots},
    {"flameshot", screenshots},
    {"gnome-screenshot", screenshots},
    {"ksnip", screenshots},
    {"maim", screenshots},
    {"mate-screenshot", screenshots},
    {"screengrab", screenshots},
    {"scrot", screenshots},
    {"spectacle", screenshots},
    {"xfce4-screenshooter", screenshots},
    // Panels, docks and launchers.
    {"albert", panels},
    {"budgie-panel", panels},
    {"cairo-dock", panels},
    {"cinnamon", panels},
    {"dmenu", panels},
    {"fbpanel", panels},
    {"gmrun", panels},
    {"gnome-panel", panels},
    {"gnome-shell", panels},
    {"krunner", panels},
    {"latte-dock", panels},
    {"lxpanel", panels},
    {"lxqt-panel", panels},
    {"lxqt-runner", panels},
    {"mate-panel", panels},
    {"plank", panels},
    {"plasmashell", panels},
    {"polybar", panels},
    {"rofi", panels},
    {"stalonetray", panels},
    {"synapse", panels},
    {"tint2", panels},
    {"trayer", panels},
    {"ulauncher", panels, true},
    {"vala-panel", panels},
    {"wrapper-2.0", panels},  // a plugin of xfce4-panel, such as its menu
    {"xfce4-appfinder", panels},
    {"xfce4-panel", panels},
    {"xfdesktop", panels},
    // Settings centres.
    {"budgie-control-center", preferences},
    {"cinnamon-settings", preferences, true},
    {"gnome-control-center", preferences},
    {"lxqt-config", preferences},
    {"mate-control-center", preferences},
    {"systemsettings", preferences},
    {"systemsettings5", preferences},
    {"unity-control-center", preferences},
    {"xfce4-settings-manager", preferences},
    // Assistive programs.
    {"orca", screenReader, true},
    {"accerciser", accessibilityInspector, true},
});

std::optional<std::string> identifierOf(const Role* role) {
  if (role == roles.end()) return std::nullopt;
  return std::string(role->identifier);
}

}  // namespace

std::optional<std::string> agentRoleOf(const ProcessProgram& program) {
  const bool isScript = !program.script.empty();
  const std::string_view name = isScript ? program.script : program.executable;
  return identifierOf(std::find_if(
      roles.begin(), roles.end(), [&](const Role& role) { return role.program == name && role.isScript == isScript; }));
}

std::optional<std::string> agentRoleOfFile(std::string_view name) {
  return identifierOf(std::find_if(roles.begin(), roles.end(), [&](const Role& role) { return role.program == name; }));
}

std::optional<std::string> agentRoleOfProcess(pid_t process) {
  return agentRoleOf(programOf(process));
}

bool isLauncher(pid_t process) {
  return agentRoleOfProcess(process) == panels;
}

bool isAgentRole(std::string_view identifier) {
  return std::any_of(roles.begin(), roles.end(), [&](const Role& role) { return role.identifier == identifier; });
}

bool isKeptForAgents(std::string_view identifier) {
  return identifier.starts_with(roleNamespace);
}

}  // namespace platform::linux_desktop
