// Starts the guard on the desktop of the present X11 session and keeps it until it is told to end.
#include <sys/resource.h>

#include <QCoreApplication>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "Guard.h"
#include "TerminationSignals.h"
#include "platform/Desktop.h"
#include "platform/linux/LinuxDesktop.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace {

enum ExitCode { ended = 0, displayLost = 1, noDisplay = 2 };

// After the window manager had the time to show what it can do.
constexpr auto launchDelay = std::chrono::milliseconds(100);

constexpr char explanation[] =
    "varnolet: not guarding yet. This needs an X11 session (under Wayland no program can watch the keyboard) with a "
    "window manager that can be asked to activate a window (_NET_ACTIVE_WINDOW), XInput 2.2 and XTEST.\n";

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  // Otherwise a bus that turns its client away ends the whole process: Qt frees such a connection without closing it,
  // which the D-Bus library takes for a fault to die of. There are no other threads yet.
  setenv("DBUS_FATAL_WARNINGS", "0", 0);  // NOLINT(concurrency-mt-unsafe)
  const QCoreApplication application(argc, argv);
  const auto desktop = platform::linux_desktop::LinuxDesktop::open(varnoletKit::applicationIdentifier);
  if (!desktop) {
    std::fputs("varnolet: no X display can be reached; is DISPLAY set?\n", stderr);
    return noDisplay;
  }
  const platform::InstalledDesktop installed(*desktop);

  // Held keys are in memory for a moment; a crash must not put them on the disk.
  const rlimit noCoreDump{0, 0};
  setrlimit(RLIMIT_CORE, &noCoreDump);
  const TerminationSignals terminationSignals([] { QCoreApplication::exit(ended); });
  desktop->setConnectionLostHandler([] {
    std::fputs("varnolet: the X server is gone\n", stderr);
    QCoreApplication::exit(displayLost);
  });

  int exitCode = ended;
  {
    Guard guard;
    bool isExplained = false;
    const auto startOrExplain = [&guard, &isExplained] {
      if (!guard.startIfPermitted() && !std::exchange(isExplained, true)) std::fputs(explanation, stderr);
    };
    const auto launch = platform::runOnMainThreadAfter(launchDelay, startOrExplain);
    desktop->setWindowManagerHandler(startOrExplain);
    exitCode = QCoreApplication::exec();
    desktop->setWindowManagerHandler(nullptr);
  }
  desktop->finish();
  return exitCode;
}
