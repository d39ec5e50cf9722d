#include "platform/linux/applications/URLOpener.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <QStringList>
#include <QUrl>
#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

#include "platform/Log.h"
#include "platform/linux/applications/OtherPrograms.h"
#include "platform/linux/stores/DesktopEntries.h"

namespace platform::linux_desktop {
namespace {

constexpr Logger lifecycleLog(LogCategory::lifecycle);

struct Pane {
  std::string_view url;
  // One for each: a place on a page gets lost on the way to the browser.
  const char* helpPage;
};
constexpr std::array<Pane, 2> panes{{
    {"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility", "accessibility.html"},
    {"x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent", "input-monitoring.html"},
}};

struct SettingsProgram {
  const char* desktop;
  const char* program;
};
constexpr std::array<SettingsProgram, 7> settingsPrograms{{
    {"GNOME", "gnome-control-center"},
    {"KDE", "systemsettings"},
    {"KDE", "systemsettings5"},
    {"XFCE", "xfce4-settings-manager"},
    {"MATE", "mate-control-center"},
    {"X-Cinnamon", "cinnamon-settings"},
    {"Cinnamon", "cinnamon-settings"},
}};

bool openWithDesktop(const QString& url) {
  const bool isStarted = startProgram(QStringLiteral("xdg-open"), {url});
  if (!isStarted) lifecycleLog.error("Failed to open %s: xdg-open cannot be started", url.toStdString());
  return isStarted;
}

bool startSettingsProgram() {
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':');
  return std::ranges::any_of(settingsPrograms, [&](const SettingsProgram& known) {
    if (!desktops.contains(QLatin1String(known.desktop), Qt::CaseInsensitive)) return false;
    const QString file = QStandardPaths::findExecutable(QLatin1String(known.program));
    return !file.isEmpty() && startProgram(file, {});
  });
}

}  // namespace

bool URLOpener::open(const std::string& url) const {
  for (const auto& pane : panes) {
    if (url == pane.url) return openPermissionSettings(pane.helpPage);
  }
  const std::string scheme = url.substr(0, url.find(':'));
  if (scheme.empty() || scheme == url || scheme.front() == '-' || scheme.starts_with("x-apple.")) return false;
  // Browsers are known to xdg-open also where the desktop knows none.
  const bool isForBrowser = scheme == "http" || scheme == "https" || scheme == "file";
  if (!isForBrowser && !isHandled(scheme)) return false;
  return openWithDesktop(QString::fromStdString(url));
}

bool URLOpener::openPermissionSettings(const char* helpPage) const {
  if (startSettingsProgram()) return true;
  const auto page = helpFolder_ / helpPage;
  std::error_code ignored;
  if (!std::filesystem::exists(page, ignored)) return false;
  return openWithDesktop(QUrl::fromLocalFile(QString::fromStdString(page.string())).toString(QUrl::FullyEncoded));
}

std::filesystem::path URLOpener::installedHelpFolder() {
  const std::filesystem::path programs = QCoreApplication::applicationDirPath().toStdString();
  std::filesystem::path installed = (programs / ".." / VARNOLET_HELP_BESIDE_PROGRAM).lexically_normal();
  std::error_code ignored;
  if (std::filesystem::exists(installed, ignored)) return installed;
  return VARNOLET_HELP_SOURCE;
}

}  // namespace platform::linux_desktop
