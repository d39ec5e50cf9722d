#include "platform/linux/DBusCalls.h"

#include <QDBusConnection>
#include <QFileInfo>
#include <QMetaObject>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/BusProbe.h"

namespace platform::linux_desktop {
namespace {

// With a bus that must have a lot to do.
constexpr auto patience = std::chrono::seconds(25);

// An object to which another thread posts work, unless it is gone by then.
class Receiver {
 public:
  explicit Receiver(QObject* object) : object_(object) {}

  void forget() {
    const std::lock_guard lock(mutex_);
    object_ = nullptr;
  }
  void post(const std::function<void()>& work) {
    const std::lock_guard lock(mutex_);
    if (object_) QMetaObject::invokeMethod(object_, work, Qt::QueuedConnection);
  }

 private:
  std::mutex mutex_;
  QObject* object_;
};

}  // namespace

QString sessionBusAddress() {
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
  auto receiver = std::make_shared<Receiver>(context);
  QObject::connect(context, &QObject::destroyed, [receiver] { receiver->forget(); });
  std::thread([address, connectionName, receiver = std::move(receiver), then = std::move(then)] {
    const bool isThere = !address.isEmpty() && isBusAnswering(address, patience);
    QDBusConnection::disconnectFromBus(connectionName);
    if (isThere) QDBusConnection::connectToBus(address, connectionName);
    receiver->post(then);
  }).detach();
}

}  // namespace platform::linux_desktop
