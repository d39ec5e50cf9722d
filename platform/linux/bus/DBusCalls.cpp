#include "platform/linux/bus/DBusCalls.h"

#include <QDBusConnection>
#include <QFileInfo>
#include <QObject>
#include <memory>
#include <thread>
#include <utility>

#include "platform/linux/bus/BusProbe.h"

namespace platform::linux_desktop {
namespace {

// With a bus that must have a lot to do.
constexpr auto patience = std::chrono::seconds(25);

QString keptSessionBusAddress;

}  // namespace

void hideSessionBusFromToolkit(bool isKept) {
  if (isKept) keptSessionBusAddress = sessionBusAddress();
  qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
}

QString sessionBusAddress() {
  if (!keptSessionBusAddress.isEmpty()) return keptSessionBusAddress;
  QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
  if (!address.isEmpty()) return address;
  const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
  return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

QString systemBusAddress() {
  const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
  return address.isEmpty() ? QStringLiteral("unix:path=/run/dbus/system_bus_socket") : address;
}

void connectInBackground(const QString& address, const QString& connectionName, QObject* context,
                         std::function<void()> then) {
  // Its end is the message: a signal is the one that another thread may send to an object which may be gone.
  auto attempt = std::make_unique<QObject>();
  QObject::connect(attempt.get(), &QObject::destroyed, context, std::move(then), Qt::QueuedConnection);
  attempt->moveToThread(nullptr);
  std::thread([address, connectionName, attempt = std::move(attempt)]() mutable {
    const bool isThere = !address.isEmpty() && isBusAnswering(address, patience);
    QDBusConnection::disconnectFromBus(connectionName);
    if (isThere) QDBusConnection::connectToBus(address, connectionName);
    attempt.reset();
  }).detach();
}

}  // namespace platform::linux_desktop
