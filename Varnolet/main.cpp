// Starts Varnolet on the desktop of the present X11 session and keeps it until it is told to end.
#include <sys/resource.h>

#include <QApplication>
#include <QIcon>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "PopupWatch.h"
#include "TerminationSignals.h"
#include "Varnolet/VarnoletApp.h"
#include "platform/Desktop.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/applications/OtherPrograms.h"
#include "platform/linux/bus/ApplicationInstance.h"
#include "platform/linux/bus/ToolkitBuses.h"
#include "platform/linux/x11/DisplayOwner.h"
#include "platform/linux/x11/XcbConnection.h"
#include "platform/ui/NSApplication.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace {

using namespace platform::linux_desktop;
using varnoletKit::applicationIdentifier;

enum ExitCode { ended = 0, displayLost = 1, noDisplay = 2, displayTaken = 3 };

// With a guard that is about to end.
constexpr std::chrono::milliseconds patienceWithOwner(1500);

// There are no other threads yet.
void prepareEnvironment() {
  // Otherwise a bus that turns its client away ends the whole process: Qt frees such a connection without closing it,
  // which the D-Bus library takes for a fault to die of.
  setenv("DBUS_FATAL_WARNINGS", "0", 0);  // NOLINT(concurrency-mt-unsafe)
  // Keyboards and windows are watched through X11, so the program's own windows belong there too.
  setenv("QT_QPA_PLATFORM", "xcb", 0);  // NOLINT(concurrency-mt-unsafe)
}

// Held keys are in memory for a moment; a crash must not put them on the disk.
void forbidCoreDumps() {
  rlimit limit{};
  getrlimit(RLIMIT_CORE, &limit);
  // Only the soft limit: programs that are opened from here may raise it. Unlike none at all, a single byte also keeps
  // the kernel from handing the dump to a collector of crashes.
  limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
  setrlimit(RLIMIT_CORE, &limit);
}

// The toolkit takes it from the environment.
std::string startupIdOfThisProcess() {
  for (const char* name : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN"}) {
    const char* id = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
    if (id != nullptr && *id != '\0') return id;
  }
  return {};
}

int run(LinuxDesktop& desktop, ApplicationInstance& instance) {
  platform::ui::NSApplication application;
  varnolet::VarnoletApp app(application);
  const PopupWatch popupWatch;
  const TerminationSignals terminationSignals([&application] { application.terminate(ended); });
  desktop.setConnectionLostHandler([&application] {
    std::fputs("varnolet: the X server is gone\n", stderr);
    application.terminate(displayLost);
  });
  // One that begins after the program may bring the permissions along.
  desktop.setWindowManagerHandler([&app] { app.appDelegate().recheckPermissionsAndStartEngine(); });
  instance.setReopenHandler([&desktop, &app](const Activation& start) {
    desktop.judgeStart(start, [&app](bool isFresh) { app.appDelegate().applicationWasStartedAgain(isFresh); });
  });
  application.setTerminationHandler([&instance] { instance.giveNameBack(); });
  const int exitCode = application.run();
  application.setTerminationHandler(nullptr);
  instance.setReopenHandler(nullptr);
  desktop.setWindowManagerHandler(nullptr);
  desktop.setConnectionLostHandler(nullptr);
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  keepEnvironmentForOthers();
  prepareEnvironment();
  forbidCoreDumps();
  // The application object would end the process with a message of its own.
  const auto connection = XcbConnection::open();
  if (!connection) {
    std::fputs("varnolet: no X display can be reached; is DISPLAY set?\n", stderr);
    return noDisplay;
  }
  hideSilentBusesFromToolkit(*connection);
  const std::string startupId = startupIdOfThisProcess();

  const QApplication qt(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Varnolet"));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(applicationIdentifier));
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/varnolet/icon.svg")));
  ApplicationInstance instance(applicationIdentifier, startupId);
  if (instance.claim() == ApplicationInstance::Claim::second) return ended;
  // Until everything below has ended.
  const auto owner = DisplayOwner::claim(patienceWithOwner);
  if (!owner) {
    std::fputs("varnolet: this display is guarded by another process already\n", stderr);
    return displayTaken;
  }
  const auto desktop = LinuxDesktop::open(applicationIdentifier);
  if (!desktop) return noDisplay;
  const platform::InstalledDesktop installed(*desktop);
  const int exitCode = run(*desktop, instance);
  desktop->finish();
  return exitCode;
}
