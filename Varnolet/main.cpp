// Starts Varnolet on the desktop of the present X11 session and keeps it until it is told to end.
#include <sys/resource.h>

#include <QApplication>
#include <QIcon>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "TerminationSignals.h"
#include "Varnolet/VarnoletApp.h"
#include "platform/Desktop.h"
#include "platform/linux/ApplicationInstance.h"
#include "platform/linux/BusProbe.h"
#include "platform/linux/DBusCalls.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/OtherPrograms.h"
#include "platform/linux/XcbConnection.h"
#include "platform/ui/NSApplication.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace {

using namespace platform::linux_desktop;
using varnoletKit::applicationIdentifier;

enum ExitCode { ended = 0, displayLost = 1, noDisplay = 2 };

constexpr std::chrono::seconds busPatience(1);

// There are no other threads yet.
void prepareEnvironment() {
  // Otherwise a bus that turns its client away ends the whole process: Qt frees such a connection without closing it,
  // which the D-Bus library takes for a fault to die of.
  setenv("DBUS_FATAL_WARNINGS", "0", 0);  // NOLINT(concurrency-mt-unsafe)
  // Keyboards and windows are watched through X11, so the program's own windows belong there too.
  setenv("QT_QPA_PLATFORM", "xcb", 0);  // NOLINT(concurrency-mt-unsafe)
  // The toolkit would wait for a stopped bus for minutes, with no key guarded, and without any it would start one.
  const QString bus = sessionBusAddress();
  if (bus.isEmpty() || !isBusAnswering(bus, busPatience)) {
    std::fputs(bus.isEmpty() ? "varnolet: there is no session bus; going on without notifications\n"
                             : "varnolet: the session bus does not answer; going on without notifications\n",
               stderr);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);  // NOLINT(concurrency-mt-unsafe)
  }
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

int run(LinuxDesktop& desktop, ApplicationInstance& instance) {
  platform::ui::NSApplication application;
  varnolet::VarnoletApp app(application);
  const TerminationSignals terminationSignals([&application] { application.terminate(ended); });
  desktop.setConnectionLostHandler([&application] {
    std::fputs("varnolet: the X server is gone\n", stderr);
    application.terminate(displayLost);
  });
  // One that begins after the program may bring the permissions along.
  desktop.setWindowManagerHandler([&app] { app.appDelegate().recheckPermissionsAndStartEngine(); });
  instance.setReopenHandler([&application] { application.reopen(); });
  const int exitCode = application.run();
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
  if (!XcbConnection::open()) {
    std::fputs("varnolet: no X display can be reached; is DISPLAY set?\n", stderr);
    return noDisplay;
  }

  const QApplication qt(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Varnolet"));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(applicationIdentifier));
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/varnolet/icon.svg")));
  ApplicationInstance instance(applicationIdentifier);
  if (instance.claim() == ApplicationInstance::Claim::second) return ended;
  const auto desktop = LinuxDesktop::open(applicationIdentifier);
  if (!desktop) return noDisplay;
  const platform::InstalledDesktop installed(*desktop);
  const int exitCode = run(*desktop, instance);
  desktop->finish();
  return exitCode;
}
