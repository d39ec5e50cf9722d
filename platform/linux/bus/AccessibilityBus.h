// The desktop's accessibility bus, over which applications that speak AT-SPI announce that a window became active.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/AXObserver.h"
#include "platform/linux/base/MainLoopSource.h"

namespace platform::linux_desktop {

// Main thread, but for isDisabled(). The bus is spoken to directly, and neither a connection nor an answer is waited
// for: a client library that asks the announcing application back would hold up the main thread just when another
// application takes the focus.
class AccessibilityBus : public QObject {
  Q_OBJECT

 public:
  // Who wants to hear of the activations of one process.
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual std::int32_t processIdentifier() const = 0;
    virtual void applicationActivated() = 0;
  };

  // Begins to look for the bus. One that ends and comes back is found again, unless the environment named its address.
  AccessibilityBus();
  ~AccessibilityBus() override;

  // Any thread. True once it is known that there is no bus, until there is one.
  bool isDisabled() const { return isDisabled_; }
  void add(const std::shared_ptr<Listener>& listener);
  void remove(const Listener& listener);

 private:
  Q_SLOT void windowActivated(const QDBusMessage& announcement);
  void watchSessionBus();
  void watchLauncher();
  void askForAddress();
  void connectTo(const QString& address);
  void connectionAttempted(const QString& connectionName);
  // Applications announce only what somebody registered for.
  void updateRegistration();
  void askForProcessOf(const QString& sender);
  void tellListeners(std::int32_t process);

  QDBusConnection session_;
  QDBusConnection bus_;
  QString address_;         // of bus_, or of what it will be
  QString connectionName_;  // likewise; each attempt to connect has its own
  int attempts_ = 0;
  bool isConnecting_ = false;
  QDBusServiceWatcher launcher_;  // of the bus
  std::atomic<bool> isDisabled_ = false;
  bool isRegistered_ = false;
  std::vector<std::weak_ptr<Listener>> listeners_;
  std::map<QString, std::int32_t> processes_;  // by name on the bus, which is never given twice
};

}  // namespace platform::linux_desktop
