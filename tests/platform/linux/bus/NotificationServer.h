// A notification server that does as told.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariantMap>
#include <vector>

#include "tests/platform/linux/bus/PrivateBus.h"

namespace platform::linux_desktop {

// What a server was asked to show.
struct Shown {
  QString program;
  uint replaces = 0;
  QString title;
  QString body;
  QStringList actions;
  QVariantMap hints;
};

class NotificationServer : public QDBusVirtualObject {
 public:
  enum class Manner { answers, refuses, isSilent };

  // Has the name of the service when it is made; `connectionName` is the test's own name for its connection.
  explicit NotificationServer(const PrivateBus& bus, QStringList capabilities,
                              const char* connectionName = "test-server");
  ~NotificationServer() override;

  void setManner(Manner manner) { manner_ = manner; }
  const std::vector<Shown>& shown() const { return shown_; }
  // Number of the latest notification; they count from 1 in every server.
  uint latest() const { return static_cast<uint>(shown_.size()); }

  void invokeAction(uint number, const QString& action) const;
  void close(uint number) const;

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  const QString connectionName_;
  const QStringList capabilities_;
  Manner manner_ = Manner::answers;
  QDBusConnection connection_;
  std::vector<Shown> shown_;
};

// The signal that tells of a user's choice, said by anybody.
void sayActionInvoked(const QDBusConnection& connection, uint number, const QString& action);

}  // namespace platform::linux_desktop
