#include "platform/linux/bus/AccessibilityBus.h"

#include <QDBusPendingReply>
#include <algorithm>

#include "platform/linux/bus/DBusCalls.h"

namespace platform::linux_desktop {
namespace {

constexpr int patienceMs = 5000;
constexpr std::size_t mostKnownProcesses = 512;
const auto connectionNames = QStringLiteral("varnolet-accessibility-%1");
const auto sessionConnectionName = QStringLiteral("varnolet-accessibility-address");
const auto launcherName = QStringLiteral("org.a11y.Bus");
const QDBusConnection noConnection{QString()};

}  // namespace

AccessibilityBus::AccessibilityBus() : session_(noConnection), bus_(noConnection) {
  const QString address = qEnvironmentVariable("AT_SPI_BUS_ADDRESS");
  if (!address.isEmpty()) {
    connectTo(address);
  } else {
    watchSessionBus();
  }
}

AccessibilityBus::~AccessibilityBus() {
  listeners_.clear();
  updateRegistration();
  QDBusConnection::disconnectFromBus(connectionName_);
  QDBusConnection::disconnectFromBus(sessionConnectionName);
}

void AccessibilityBus::add(const std::shared_ptr<Listener>& listener) {
  listeners_.push_back(listener);
  updateRegistration();
}

void AccessibilityBus::remove(const Listener& listener) {
  std::erase_if(listeners_, [&](const std::weak_ptr<Listener>& known) {
    const auto living = known.lock();
    return !living || living.get() == &listener;
  });
  updateRegistration();
}

void AccessibilityBus::watchSessionBus() {
  const QString address = sessionBusAddress();
  isDisabled_ = address.isEmpty();
  if (isDisabled_) return;
  connectInBackground(address, sessionConnectionName, this, [this] { watchLauncher(); });
}

void AccessibilityBus::watchLauncher() {
  session_ = QDBusConnection(sessionConnectionName);
  isDisabled_ = !session_.isConnected();
  if (isDisabled_) return;
  launcher_.setConnection(session_);
  launcher_.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
  launcher_.addWatchedService(launcherName);
  connect(&launcher_, &QDBusServiceWatcher::serviceRegistered, this, &AccessibilityBus::askForAddress);
  askForAddress();
}

void AccessibilityBus::askForAddress() {
  const auto question = QDBusMessage::createMethodCall(launcherName, QStringLiteral("/org/a11y/bus"), launcherName,
                                                       QStringLiteral("GetAddress"));
  whenAnswered(session_.asyncCall(question, patienceMs), this, [this](const QDBusPendingReply<QString>& address) {
    if (address.isError()) {
      isDisabled_ = !bus_.isConnected();
    } else {
      connectTo(address.value());
    }
  });
}

void AccessibilityBus::connectTo(const QString& address) {
  // A launcher that was only started by the question is announced too, and asked twice.
  if ((isConnecting_ || bus_.isConnected()) && address == address_) return;
  address_ = address;
  isRegistered_ = false;
  processes_.clear();
  bus_ = noConnection;
  QDBusConnection::disconnectFromBus(connectionName_);
  connectionName_ = connectionNames.arg(++attempts_);
  isConnecting_ = true;
  connectInBackground(address, connectionName_, this, [this, name = connectionName_] { connectionAttempted(name); });
}

void AccessibilityBus::connectionAttempted(const QString& connectionName) {
  if (connectionName != connectionName_) {
    QDBusConnection::disconnectFromBus(connectionName);
    return;
  }
  isConnecting_ = false;
  bus_ = QDBusConnection(connectionName_);
  isDisabled_ =
      !bus_.isConnected() || !bus_.connect(QString(), QString(), QStringLiteral("org.a11y.atspi.Event.Window"),
                                           QStringLiteral("Activate"), this, SLOT(windowActivated(QDBusMessage)));
  updateRegistration();
}

void AccessibilityBus::updateRegistration() {
  if (!bus_.isConnected() || isRegistered_ == !listeners_.empty()) return;
  isRegistered_ = !listeners_.empty();
  auto request = QDBusMessage::createMethodCall(
      QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("/org/a11y/atspi/registry"),
      QStringLiteral("org.a11y.atspi.Registry"),
      isRegistered_ ? QStringLiteral("RegisterEvent") : QStringLiteral("DeregisterEvent"));
  request << QStringLiteral("window:activate");
  bus_.asyncCall(request, patienceMs);
}

void AccessibilityBus::windowActivated(const QDBusMessage& announcement) {
  const auto known = processes_.find(announcement.service());
  if (known != processes_.end()) {
    tellListeners(known->second);
  } else {
    askForProcessOf(announcement.service());
  }
}

void AccessibilityBus::askForProcessOf(const QString& sender) {
  auto question = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
  question << sender;
  whenAnswered(bus_.asyncCall(question, patienceMs), this, [this, sender](const QDBusPendingReply<uint>& process) {
    if (process.isError()) return;
    if (processes_.size() >= mostKnownProcesses) processes_.clear();
    const auto identifier = static_cast<std::int32_t>(process.value());
    processes_[sender] = identifier;
    tellListeners(identifier);
  });
}

void AccessibilityBus::tellListeners(std::int32_t process) {
  const auto listeners = listeners_;  // who is told may leave
  for (const auto& weak : listeners) {
    const auto listener = weak.lock();
    if (listener && listener->processIdentifier() == process) listener->applicationActivated();
  }
}

}  // namespace platform::linux_desktop
