#include "platform/linux/bus/ApplicationInstance.h"

#include <unistd.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusReply>
#include <QMetaObject>
#include <QVariantMap>
#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include "platform/linux/bus/BusProbe.h"
#include "platform/linux/bus/DBusCalls.h"
#include "platform/linux/intent/ProcessStarts.h"
#include "platform/linux/intent/StartupId.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto patienceWithBus = 1s;
constexpr auto patienceWithPrimary = 2s;
const auto connectionName = QStringLiteral("varnolet-instance");
const auto applicationInterface = QStringLiteral("org.freedesktop.Application");
// In what a caller tells of its desktop. Launchers use the first two, a second start all of them.
const auto startupIdKey = QStringLiteral("desktop-startup-id");
const auto tokenKey = QStringLiteral("activation-token");
const auto processKey = QStringLiteral("varnolet-process");
// A program that was started before has nothing to do with what is asked for now.
constexpr auto longestStart = 20s;

int millisecondsUntil(steady_clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
  return static_cast<int>(std::max(left, 1ms).count());
}

// On a thread of its own, which is left behind if it takes too long.
bool connectUntil(steady_clock::time_point deadline) {
  const QString address = sessionBusAddress();
  if (address.isEmpty()) return false;
  std::promise<void> attempt;
  const auto attempted = attempt.get_future();
  std::thread([address, attempt = std::move(attempt)]() mutable {
    if (isBusAnswering(address, patienceWithBus)) QDBusConnection::connectToBus(address, connectionName);
    attempt.set_value();
  }).detach();
  return attempted.wait_until(deadline) == std::future_status::ready && QDBusConnection(connectionName).isConnected();
}

// True if another process has it.
bool isNameTaken(const QString& name, steady_clock::time_point deadline) {
  constexpr uint doNotQueue = 4;
  constexpr uint exists = 3;
  auto request =
      QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                     QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
  request << name << doNotQueue;
  const QDBusReply<uint> answer =
      QDBusConnection(connectionName).call(request, QDBus::Block, millisecondsUntil(deadline));
  return answer.isValid() && answer.value() == exists;
}

Activation startOf(const QVariantMap& platformData) {
  Activation start;
  const QString id = platformData.value(platformData.contains(startupIdKey) ? startupIdKey : tokenKey).toString();
  if (const auto time = timeInStartupId(id.toStdString())) start.stamps.push_back(*time);
  const pid_t process = platformData.value(processKey).toInt();
  if (process > 0) start.starts = startsOf(process, steady_clock::now() - longestStart);
  return start;
}

}  // namespace

ApplicationInstance::ApplicationInstance(const std::string& applicationIdentifier, const std::string& startupId)
    : name_(QString::fromStdString(applicationIdentifier)),
      path_('/' + QString(name_).replace('.', '/')),
      startupId_(QString::fromStdString(startupId)),
      isStartCallDue_(qEnvironmentVariableIsSet("DBUS_STARTER_BUS_TYPE")) {}

ApplicationInstance::~ApplicationInstance() {
  giveNameBack();
}

void ApplicationInstance::giveNameBack() {
  QDBusConnection::disconnectFromBus(connectionName);
}

ApplicationInstance::Claim ApplicationInstance::claim() {
  const auto deadline = steady_clock::now() + patienceWithBus;
  if (!connectUntil(deadline)) return Claim::primary;
  // Before it has the name: who asks for the name next may call at once.
  QDBusConnection(connectionName).registerVirtualObject(path_, this);
  if (!isNameTaken(name_, deadline)) return Claim::primary;
  if (tellPrimary()) return Claim::second;
  // It has ended since the first question, or is about to; otherwise it hangs.
  return isNameTaken(name_, steady_clock::now() + patienceWithBus) ? Claim::second : Claim::primary;
}

bool ApplicationInstance::tellPrimary() const {
  auto call = QDBusMessage::createMethodCall(name_, path_, applicationInterface, QStringLiteral("Activate"));
  call.setAutoStartService(false);
  QVariantMap platformData{{processKey, getpid()}};
  if (!startupId_.isEmpty()) platformData[startupIdKey] = startupId_;
  call << platformData;
  constexpr int patienceMs = std::chrono::milliseconds(patienceWithPrimary).count();
  return QDBusConnection(connectionName).call(call, QDBus::Block, patienceMs).type() == QDBusMessage::ReplyMessage;
}

void ApplicationInstance::setReopenHandler(std::function<void(const Activation&)> handler) {
  onReopen_ = std::move(handler);
  if (onReopen_ && dueReopen_) QMetaObject::invokeMethod(this, "reopenAsDue", Qt::QueuedConnection);
}

void ApplicationInstance::reopenAsDue() {
  if (const auto start = std::exchange(dueReopen_, std::nullopt)) reopen(*start);
}

void ApplicationInstance::reopen(const Activation& start) {
  if (onReopen_) {
    onReopen_(start);
  } else {
    dueReopen_ = start;
  }
}

QString ApplicationInstance::introspect(const QString& path) const {
  if (path != path_) return {};
  return QStringLiteral(R"(<interface name="org.freedesktop.Application">
  <method name="Activate"><arg type="a{sv}" direction="in"/></method>
  <method name="Open"><arg type="as" direction="in"/><arg type="a{sv}" direction="in"/></method>
  <method name="ActivateAction">
    <arg type="s" direction="in"/><arg type="av" direction="in"/><arg type="a{sv}" direction="in"/>
  </method>
</interface>
)");
}

// There is nothing to open, and there are no actions.
bool ApplicationInstance::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  if (message.path() != path_) return false;
  if (!message.interface().isEmpty() && message.interface() != applicationInterface) return false;
  const auto is = [&](const char* member, const char* signature) {
    return message.member() == QLatin1String(member) && message.signature() == QLatin1String(signature);
  };
  const bool reopens = is("Activate", "a{sv}") || is("Open", "asa{sv}");
  if (!reopens && !is("ActivateAction", "sava{sv}")) return false;
  // A second start ends with the reply.
  const Activation start = startOf(qdbus_cast<QVariantMap>(message.arguments().last()));
  if (message.isReplyRequired()) connection.send(message.createReply());
  if (reopens && !std::exchange(isStartCallDue_, false)) reopen(start);
  return true;
}

}  // namespace platform::linux_desktop
