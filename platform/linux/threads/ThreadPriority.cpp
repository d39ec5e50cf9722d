#include "platform/linux/threads/ThreadPriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <chrono>
#include <thread>

#include "platform/linux/bus/BusProbe.h"
#include "platform/linux/bus/DBusCalls.h"
#include "platform/linux/threads/WorkerThreads.h"

namespace platform::linux_desktop {
namespace {

constexpr int niceness = -10;
// With the bus, and then with the service.
constexpr std::chrono::seconds patience(25);

// The lowest real-time priority goes before every ordinary thread, and its children start as ordinary ones.
bool becomeRealTime() {
  sched_param parameters{};
  parameters.sched_priority = sched_get_priority_min(SCHED_RR);
  return sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

// On a thread of its own, which is left behind: a bus may let its clients wait for long.
void askForHighPriority(pid_t thread) {
  std::thread([thread] {
    nameThisThread("connecting");
    const QString address = systemBusAddress();
    if (!isBusAnswering(address, patience)) return;
    const auto connectionName = QStringLiteral("varnolet-priority-%1").arg(thread);
    auto request = QDBusMessage::createMethodCall("org.freedesktop.RealtimeKit1", "/org/freedesktop/RealtimeKit1",
                                                  "org.freedesktop.RealtimeKit1", "MakeThreadHighPriority");
    request << static_cast<qulonglong>(thread) << niceness;
    constexpr int patienceMs = std::chrono::milliseconds(patience).count();
    QDBusConnection::connectToBus(address, connectionName).call(request, QDBus::Block, patienceMs);
    QDBusConnection::disconnectFromBus(connectionName);
  }).detach();
}

}  // namespace

void raisePriorityOfThisThread() {
  // On Linux both are about the thread, not the process.
  if (!becomeRealTime() && setpriority(PRIO_PROCESS, 0, niceness) != 0) askForHighPriority(gettid());
}

}  // namespace platform::linux_desktop
