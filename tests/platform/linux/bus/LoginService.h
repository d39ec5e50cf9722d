// A logind on a bus of the test's own, with one session, that does as told.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>

#include "tests/platform/linux/bus/PrivateBus.h"

namespace platform::linux_desktop {

class LoginService : public QDBusVirtualObject {
 public:
  // How the session can be found.
  enum class Known { byId, byProcess, asDisplay, no };

  // Has the name of the service when it is made; `connectionName` is the test's own name for its connection. The id of
  // the session is "7".
  explicit LoginService(const PrivateBus& bus, Known known = Known::byId, const char* connectionName = "test-login");
  ~LoginService() override;

  // Before anybody was told.
  void set(bool active, bool locked);
  // Tells that they have changed, with the new values or without.
  void change(bool active, bool locked, bool withValues = true);
  void prepareForSleep(bool begins) const;
  // How often the session was read.
  int readings() const { return readings_; }

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  QVariant answerTo(const QDBusMessage& message);

  const QString connectionName_;
  const Known known_;
  QDBusConnection connection_;
  bool isActive_ = true;
  bool isLocked_ = false;
  int readings_ = 0;
};

}  // namespace platform::linux_desktop
