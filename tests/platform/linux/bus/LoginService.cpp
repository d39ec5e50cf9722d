#include "tests/platform/linux/bus/LoginService.h"

#include <unistd.h>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>
#include <QVariantMap>
#include <stdexcept>

namespace platform::linux_desktop {
namespace {

constexpr char serviceName[] = "org.freedesktop.login1";
constexpr char managerPath[] = "/org/freedesktop/login1";
constexpr char userPath[] = "/org/freedesktop/login1/user/_1";
constexpr char sessionPath[] = "/org/freedesktop/login1/session/_37";
constexpr char managerInterface[] = "org.freedesktop.login1.Manager";
constexpr char sessionInterface[] = "org.freedesktop.login1.Session";
constexpr char propertiesInterface[] = "org.freedesktop.DBus.Properties";

QVariant path(const char* text) {
  return QVariant::fromValue(QDBusObjectPath(text));
}

}  // namespace

LoginService::LoginService(const PrivateBus& bus, Known known, const char* connectionName)
    : connectionName_(connectionName),
      known_(known),
      connection_(QDBusConnection::connectToBus(QString::fromStdString(bus.address()), connectionName_)) {
  if (!connection_.registerVirtualObject(managerPath, this, QDBusConnection::SubPath) ||
      !connection_.registerService(serviceName)) {
    throw std::runtime_error("no login service");
  }
}

LoginService::~LoginService() {
  connection_.unregisterObject(managerPath);
  connection_.unregisterService(serviceName);
  QDBusConnection::disconnectFromBus(connectionName_);
}

void LoginService::set(bool active, bool locked) {
  isActive_ = active;
  isLocked_ = locked;
}

void LoginService::change(bool active, bool locked, bool withValues) {
  set(active, locked);
  auto signal = QDBusMessage::createSignal(sessionPath, propertiesInterface, "PropertiesChanged");
  const QVariantMap values{{"Active", active}, {"LockedHint", locked}};
  signal << sessionInterface << (withValues ? values : QVariantMap())
         << (withValues ? QStringList() : QStringList(values.keys()));
  connection_.send(signal);
}

void LoginService::prepareForSleep(bool begins) const {
  auto signal = QDBusMessage::createSignal(managerPath, managerInterface, "PrepareForSleep");
  signal << begins;
  connection_.send(signal);
}

bool LoginService::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  const QVariant answer = answerTo(message);
  if (answer.isValid()) {
    connection.send(message.createReply(answer));
  } else {
    connection.send(message.createErrorReply("org.freedesktop.login1.NoSuchSession", "none"));
  }
  return true;
}

QVariant LoginService::answerTo(const QDBusMessage& message) {
  const auto arguments = message.arguments();
  const auto is = [&](const char* object, const char* interface, const char* member) {
    return message.path() == object && message.interface() == interface && message.member() == member;
  };
  if (is(managerPath, managerInterface, "GetSession")) {
    return known_ == Known::byId && arguments.at(0) == "7" ? path(sessionPath) : QVariant();
  }
  if (is(managerPath, managerInterface, "GetSessionByPID")) {
    return known_ == Known::byProcess && arguments.at(0) == static_cast<uint>(getpid()) ? path(sessionPath)
                                                                                        : QVariant();
  }
  if (is(managerPath, managerInterface, "GetUser")) {
    return arguments.at(0) == static_cast<uint>(getuid()) ? path(userPath) : QVariant();
  }
  if (is(userPath, propertiesInterface, "Get") && arguments.at(1) == "Display") {
    QDBusArgument display;
    display.beginStructure();
    display << (known_ == Known::asDisplay ? "7" : QString())
            << QDBusObjectPath(known_ == Known::asDisplay ? sessionPath : "/");
    display.endStructure();
    return QVariant::fromValue(QDBusVariant(QVariant::fromValue(display)));
  }
  if (is(sessionPath, propertiesInterface, "GetAll") && arguments.at(0) == sessionInterface) {
    ++readings_;
    return QVariantMap{{"Active", isActive_}, {"LockedHint", isLocked_}, {"Name", "somebody"}};
  }
  return {};
}

}  // namespace platform::linux_desktop
