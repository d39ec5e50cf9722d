#include "platform/linux/bus/SessionWatch.h"

#include <unistd.h>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <algorithm>
#include <utility>

#include "platform/NSWorkspace.h"
#include "platform/linux/bus/DBusCalls.h"

namespace platform::linux_desktop {
namespace {

const auto systemConnection = QStringLiteral("varnolet-login");
const auto sessionConnection = QStringLiteral("varnolet-screensavers");
const auto loginName = QStringLiteral("org.freedesktop.login1");
const auto managerPath = QStringLiteral("/org/freedesktop/login1");
const auto managerInterface = QStringLiteral("org.freedesktop.login1.Manager");
const auto sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const auto userInterface = QStringLiteral("org.freedesktop.login1.User");
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
// Each has an interface of its own name.
constexpr const char* screenSaverNames[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                                            "org.xfce.ScreenSaver", "org.mate.ScreenSaver", "org.cinnamon.ScreenSaver"};

}  // namespace

SessionWatch::SessionWatch(NSNotificationCenter& center) : center_(center), system_(QStringLiteral("varnolet-none")) {
  connectInBackground(systemBusAddress(), systemConnection, this, [this] { watchLogin(); });
  connectInBackground(sessionBusAddress(), sessionConnection, this, [this] { watchScreenSavers(); });
}

SessionWatch::~SessionWatch() {
  QDBusConnection::disconnectFromBus(systemConnection);
  QDBusConnection::disconnectFromBus(sessionConnection);
}

void SessionWatch::watchLogin() {
  system_ = QDBusConnection(systemConnection);
  if (!system_.isConnected()) return;
  system_.connect(QString(), managerPath, managerInterface, QStringLiteral("PrepareForSleep"), this,
                  SLOT(prepareForSleep(QDBusMessage)));
  login_ = std::make_unique<BusNameOwner>(system_, loginName, [this] { findSession(); });
}

void SessionWatch::watchScreenSavers() {
  QDBusConnection bus(sessionConnection);
  if (!bus.isConnected()) return;
  for (const char* name : screenSaverNames) {
    bus.connect(QString(), QString(), QLatin1String(name), QStringLiteral("ActiveChanged"), this,
                SLOT(screenSaverChanged(QDBusMessage)));
    screenSavers_.push_back(std::make_unique<BusNameOwner>(bus, QLatin1String(name), [] {}));
  }
}

QDBusMessage SessionWatch::loginCall(const QString& path, const QString& interface, const QString& method) const {
  return QDBusMessage::createMethodCall(login_->owner(), path, interface, method);
}

void SessionWatch::ask(const QDBusMessage& question, const std::function<void(const QDBusPendingCall&)>& handle) {
  whenAnswered(system_.asyncCall(question), this, [this, owner = login_->owner(), handle](const auto& answer) {
    if (owner == login_->owner()) handle(answer);
  });
}

void SessionWatch::findSession() {
  const QString id = qEnvironmentVariable("XDG_SESSION_ID");
  if (id.isEmpty()) {
    findSessionOfProcess();
    return;
  }
  auto question = loginCall(managerPath, managerInterface, QStringLiteral("GetSession"));
  question << id;
  askForSession(question, [this] { findSessionOfProcess(); });
}

void SessionWatch::findSessionOfProcess() {
  auto question = loginCall(managerPath, managerInterface, QStringLiteral("GetSessionByPID"));
  question << static_cast<uint>(getpid());
  askForSession(question, [this] { findSessionOfUser(); });
}

void SessionWatch::askForSession(const QDBusMessage& question, const std::function<void()>& otherwise) {
  ask(question, [this, otherwise](const QDBusPendingReply<QDBusObjectPath>& session) {
    session.isError() ? otherwise() : watchSession(session.value().path());
  });
}

void SessionWatch::findSessionOfUser() {
  auto question = loginCall(managerPath, managerInterface, QStringLiteral("GetUser"));
  question << static_cast<uint>(getuid());
  ask(question, [this](const QDBusPendingReply<QDBusObjectPath>& user) {
    if (user.isError()) return;
    auto display = loginCall(user.value().path(), propertiesInterface, QStringLiteral("Get"));
    display << userInterface << QStringLiteral("Display");
    ask(display, [this](const QDBusPendingReply<QDBusVariant>& answer) {
      if (answer.isError()) return;
      const auto session = answer.value().variant().value<QDBusArgument>();
      if (session.currentSignature() != QLatin1String("(so)")) return;
      QString id;
      QDBusObjectPath path;
      session.beginStructure();
      session >> id >> path;
      session.endStructure();
      if (!id.isEmpty()) watchSession(path.path());
    });
  });
}

void SessionWatch::watchSession(const QString& path) {
  if (path != session_) {
    const auto signal = QStringLiteral("PropertiesChanged");
    const char* slot = SLOT(sessionPropertiesChanged(QDBusMessage));
    if (!session_.isEmpty()) system_.disconnect(QString(), session_, propertiesInterface, signal, this, slot);
    system_.connect(QString(), path, propertiesInterface, signal, this, slot);
    session_ = path;
  }
  readSession();
}

void SessionWatch::readSession() {
  auto question = loginCall(session_, propertiesInterface, QStringLiteral("GetAll"));
  question << sessionInterface;
  ask(question, [this](const QDBusPendingReply<QVariantMap>& properties) {
    if (!properties.isError()) setProperties(properties.value());
  });
}

void SessionWatch::setProperties(const QVariantMap& properties) {
  const bool isActive = properties.value(QStringLiteral("Active"), true).toBool();
  const bool isLocked = properties.value(QStringLiteral("LockedHint"), false).toBool();
  const bool resigns = !isActive || isLocked;
  if (std::exchange(hasResigned_, resigns) == resigns) return;
  post(resigns ? NSWorkspaceSessionDidResignActiveNotification : NSWorkspaceSessionDidBecomeActiveNotification);
}

// The values are asked for again rather than taken from the signal, which may also leave them out.
void SessionWatch::sessionPropertiesChanged(const QDBusMessage& signal) {
  if (login_->sent(signal)) readSession();
}

void SessionWatch::prepareForSleep(const QDBusMessage& signal) {
  if (!login_ || !login_->sent(signal) || signal.signature() != QLatin1String("b")) return;
  const bool begins = signal.arguments().at(0).toBool();
  if (!begins) post(NSWorkspaceScreensDidWakeNotification);
}

void SessionWatch::screenSaverChanged(const QDBusMessage& signal) {
  const bool isKnown = std::ranges::any_of(screenSavers_, [&](const auto& screenSaver) {
    return screenSaver->name() == signal.interface() && screenSaver->sent(signal);
  });
  if (!isKnown || signal.signature() != QLatin1String("b")) return;
  const bool begins = signal.arguments().at(0).toBool();
  if (!begins) post(NSWorkspaceScreensDidWakeNotification);
}

}  // namespace platform::linux_desktop
