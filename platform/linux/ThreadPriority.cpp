#include "platform/linux/ThreadPriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>

namespace platform::linux_desktop {
namespace {

constexpr int niceness = -10;

// The lowest real-time priority goes before every ordinary thread, and its children start as ordinary ones.
bool becomeRealTime() {
  sched_param parameters{};
  parameters.sched_priority = sched_get_priority_min(SCHED_RR);
  return sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

}  // namespace

void raisePriorityOfThisThread() {
  // On Linux both are about the thread, not the process.
  if (becomeRealTime() || setpriority(PRIO_PROCESS, 0, niceness) == 0) return;
  auto request = QDBusMessage::createMethodCall("org.freedesktop.RealtimeKit1", "/org/freedesktop/RealtimeKit1",
                                                "org.freedesktop.RealtimeKit1", "MakeThreadHighPriority");
  request << static_cast<qulonglong>(gettid()) << niceness;
  QDBusConnection::systemBus().send(request);
}

}  // namespace platform::linux_desktop
