#include "platform/linux/ThreadPriority.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>

namespace platform::linux_desktop {
namespace {

constexpr int niceness = -10;

}  // namespace

void raisePriorityOfThisThread() {
  // On Linux this is about the thread, not the process.
  if (setpriority(PRIO_PROCESS, 0, niceness) == 0) return;
  auto request = QDBusMessage::createMethodCall("org.freedesktop.RealtimeKit1", "/org/freedesktop/RealtimeKit1",
                                                "org.freedesktop.RealtimeKit1", "MakeThreadHighPriority");
  request << static_cast<qulonglong>(gettid()) << niceness;
  QDBusConnection::systemBus().send(request);
}

}  // namespace platform::linux_desktop
