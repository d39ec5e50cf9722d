// Who has a name on a bus, followed without ever waiting for the bus.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <functional>

namespace platform::linux_desktop {

// Main thread.
class BusNameOwner : public QObject {
  Q_OBJECT

 public:
  // Calls `appeared` from the event loop whenever the name has a new owner, also the first time that one is found.
  BusNameOwner(const QDBusConnection& bus, const QString& name, std::function<void()> appeared);

  const QString& name() const { return name_; }
  // Its own name on the bus, never given twice; empty if there is none, or none is known yet.
  const QString& owner() const { return owner_; }
  // True for a signal that the owner sent. Signals cannot be asked for by the well-known name of their sender: that
  // would mean to wait until the bus has told who it is.
  bool sent(const QDBusMessage& signal) const { return !owner_.isEmpty() && signal.service() == owner_; }

 private:
  Q_SLOT void ownerChanged(const QDBusMessage& signal);
  void setOwner(const QString& owner);

  const QString name_;
  std::function<void()> appeared_;
  QDBusConnection bus_;
  QString owner_;
};

}  // namespace platform::linux_desktop
