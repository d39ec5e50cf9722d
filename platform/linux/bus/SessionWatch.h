// When the user's session is locked, switched away from, put to sleep and given back.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <vector>

#include "platform/NSNotificationCenter.h"
#include "platform/linux/bus/BusNameOwner.h"

namespace platform::linux_desktop {

// Main thread. Posts the notifications of screens and sessions of NSWorkspace.h, from the event loop, as logind and the
// desktop's screen saver tell. Without them, and until they have told, the session counts as active.
//
// Only what their owners of the moment send counts; a logind that was restarted is asked again. Locked is what the
// screen locker tells logind; the mere request to lock is not, because a locker that took it without a word would leave
// the session locked for good.
class SessionWatch : public QObject {
  Q_OBJECT

 public:
  // Begins to watch. `center` has to outlive this.
  explicit SessionWatch(NSNotificationCenter& center);
  ~SessionWatch() override;

 private:
  Q_SLOT void prepareForSleep(const QDBusMessage& signal);
  Q_SLOT void sessionPropertiesChanged(const QDBusMessage& signal);
  Q_SLOT void screenSaverChanged(const QDBusMessage& signal);

  void watchLogin();
  void watchScreenSavers();

  QDBusMessage loginCall(const QString& path, const QString& interface, const QString& method) const;
  // Calls `handle` with the answer, also if it is an error, unless logind was restarted meanwhile.
  void ask(const QDBusMessage& question, const std::function<void(const QDBusPendingCall& answer)>& handle);
  // Our session: that of the environment, else that of this process, else the one that the user sees.
  void findSession();
  void findSessionOfProcess();
  void findSessionOfUser();
  void askForSession(const QDBusMessage& question, const std::function<void()>& otherwise);
  void watchSession(const QString& path);
  void readSession();
  void setProperties(const QVariantMap& properties);
  void post(const char* name) { center_.postNotification({name, {}}); }

  NSNotificationCenter& center_;
  QDBusConnection system_;
  std::unique_ptr<BusNameOwner> login_;
  std::vector<std::unique_ptr<BusNameOwner>> screenSavers_;
  QString session_;  // its path; empty until it is found

  bool hasResigned_ = false;
};

}  // namespace platform::linux_desktop
