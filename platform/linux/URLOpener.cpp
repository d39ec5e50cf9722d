#include "platform/linux/URLOpener.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QUrl>
#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

#include "platform/linux/DesktopEntries.h"

namespace platform::linux_desktop {
namespace {

struct Pane {
  std::string_view url;
  const char* placeOnHelpPage;
};
constexpr std::array<Pane, 2> panes{{
    {"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility", "accessibility"},
    {"x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent", "input-monitoring"},
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
  return QProcess::startDetached(QStringLiteral("xdg-open"), {url});
}

bool startSettingsProgram() {
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':');
  return std::ranges::any_of(settingsPrograms, [&](const SettingsProgram& known) {
    if (!desktops.contains(QLatin1String(known.desktop), Qt::CaseInsensitive)) return false;
    const QString file = QStandardPaths::findExecutable(QLatin1String(known.program));
    return !file.isEmpty() && QProcess::startDetached(file, {});
  });
}

}  // namespace

bool URLOpener::open(const std::string& url) const {
  for (const auto& pane : panes) {
    if (url == pane.url) return openPermissionSettings(pane.placeOnHelpPage);
  }
  const std::string scheme = url.substr(0, url.find(':'));
  if (scheme.empty() || scheme == url || scheme.front() == '-' || scheme.starts_with("x-apple.")) return false;
  // Browsers are known to xdg-open also where the desktop knows none.
  const bool isForBrowser = scheme == "http" || scheme == "https" || scheme == "file";
  if (!isForBrowser && !isHandled(scheme)) return false;
  return openWithDesktop(QString::fromStdString(url));
}

bool URLOpener::openPermissionSettings(const std::string& placeOnHelpPage) const {
  if (startSettingsProgram()) return true;
  std::error_code ignored;
  if (!std::filesystem::exists(helpPage_, ignored)) return false;
  QUrl page = QUrl::fromLocalFile(QString::fromStdString(helpPage_.string()));
  page.setFragment(QString::fromStdString(placeOnHelpPage));
  return openWithDesktop(page.toString(QUrl::FullyEncoded));
}

std::filesystem::path URLOpener::installedHelpPage() {
  constexpr char name[] = "permissions.html";
  const std::filesystem::path programs = QCoreApplication::applicationDirPath().toStdString();
  std::filesystem::path installed = (programs / ".." / VARNOLET_HELP_BESIDE_PROGRAM / name).lexically_normal();
  std::error_code ignored;
  if (std::filesystem::exists(installed, ignored)) return installed;
  return std::filesystem::path(VARNOLET_HELP_SOURCE) / name;
}

}  // namespace platform::linux_desktop
