#include "platform/linux/bus/BusNameOwner.h"

#include <QDBusPendingReply>
#include <utility>

#include "platform/linux/bus/DBusCalls.h"

namespace platform::linux_desktop {
namespace {

const auto busName = QStringLiteral("org.freedesktop.DBus");
const auto busPath = QStringLiteral("/org/freedesktop/DBus");

}  // namespace

BusNameOwner::BusNameOwner(const QDBusConnection& bus, const QString& name, std::function<void()> appeared)
    : name_(name), appeared_(std::move(appeared)), bus_(bus) {
  bus_.connect(QString(), busPath, busName, QStringLiteral("NameOwnerChanged"), {name_}, QString(), this,
               SLOT(ownerChanged(QDBusMessage)));
  auto question = QDBusMessage::createMethodCall(busName, busPath, busName, QStringLiteral("GetNameOwner"));
  question << name_;
  whenAnswered(bus_.asyncCall(question), this, [this](const QDBusPendingReply<QString>& answer) {
    if (!answer.isError()) setOwner(answer.value());
  });
}

void BusNameOwner::ownerChanged(const QDBusMessage& signal) {
  if (signal.service() != busName || signal.signature() != QLatin1String("sss")) return;
  if (signal.arguments().at(0).toString() == name_) setOwner(signal.arguments().at(2).toString());
}

void BusNameOwner::setOwner(const QString& owner) {
  if (std::exchange(owner_, owner) != owner && !owner.isEmpty()) appeared_();
}

}  // namespace platform::linux_desktop
