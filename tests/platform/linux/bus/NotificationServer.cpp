#include "tests/platform/linux/bus/NotificationServer.h"

#include <QDBusArgument>
#include <stdexcept>

namespace platform::linux_desktop {
namespace {

constexpr char serviceName[] = "org.freedesktop.Notifications";
constexpr char objectPath[] = "/org/freedesktop/Notifications";

}  // namespace

NotificationServer::NotificationServer(const PrivateBus& bus, QStringList capabilities, const char* connectionName)
    : connectionName_(connectionName),
      capabilities_(std::move(capabilities)),
      connection_(QDBusConnection::connectToBus(QString::fromStdString(bus.address()), connectionName_)) {
  if (!connection_.registerVirtualObject(objectPath, this) || !connection_.registerService(serviceName)) {
    throw std::runtime_error("no notification server");
  }
}

NotificationServer::~NotificationServer() {
  connection_.unregisterObject(objectPath);
  connection_.unregisterService(serviceName);
  QDBusConnection::disconnectFromBus(connectionName_);
}

void NotificationServer::invokeAction(uint number, const QString& action) const {
  sayActionInvoked(connection_, number, action);
}

void NotificationServer::close(uint number) const {
  constexpr uint byTheUser = 2;
  auto signal = QDBusMessage::createSignal(objectPath, serviceName, "NotificationClosed");
  signal << number << byTheUser;
  connection_.send(signal);
}

bool NotificationServer::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  if (manner_ == Manner::isSilent) {
    message.setDelayedReply(true);
  } else if (manner_ == Manner::refuses) {
    connection.send(message.createErrorReply("org.example.Error", "too many notifications"));
  } else if (message.member() == "GetCapabilities") {
    connection.send(message.createReply(capabilities_));
  } else if (message.member() == "Notify" && message.signature() == "susssasa{sv}i") {
    const auto arguments = message.arguments();
    shown_.push_back({arguments[0].toString(), arguments[1].toUInt(), arguments[3].toString(), arguments[4].toString(),
                      arguments[5].toStringList(), qdbus_cast<QVariantMap>(arguments[6])});
    const uint number = shown_.back().replaces != 0 ? shown_.back().replaces : latest();
    connection.send(message.createReply(number));
  } else {
    return false;
  }
  return true;
}

void sayActionInvoked(const QDBusConnection& connection, uint number, const QString& action) {
  auto signal = QDBusMessage::createSignal(objectPath, serviceName, "ActionInvoked");
  signal << number << action;
  connection.send(signal);
}

}  // namespace platform::linux_desktop
