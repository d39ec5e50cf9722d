// The program runs once in a session: a second start tells the first one and ends.
#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <functional>
#include <optional>
#include <string>

#include "platform/linux/intent/Activation.h"

namespace platform::linux_desktop {

// Main thread, once the application object is there. On the session bus the program has the name of its identifier and
// is an org.freedesktop.Application, so that also a desktop can ask for it.
class ApplicationInstance : public QDBusVirtualObject {
  Q_OBJECT

 public:
  enum class Claim { primary, second };

  // `startupId`: what the launcher that started this process has called that start; empty if it has not.
  ApplicationInstance(const std::string& applicationIdentifier, const std::string& startupId);
  ~ApplicationInstance() override;

  // To be called once. The first one is primary; the second has told the first to reopen, for which it waits up to two
  // seconds, and should end. Without a bus that answers within a second, every one is primary.
  Claim claim();
  // To be called as soon as the end begins: who is started from then on becomes the first one, and nobody's call is
  // taken any more.
  void giveNameBack();
  // Called from the event loop when the program is started again, with what is known of how; also if that was before
  // the handler was set.
  void setReopenHandler(std::function<void(const Activation&)> handler);

  // QDBusVirtualObject
  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  // True once it has taken the call.
  bool tellPrimary() const;
  void reopen(const Activation& start);
  Q_SLOT void reopenAsDue();

  const QString name_;
  const QString path_;
  const QString startupId_;
  std::function<void(const Activation&)> onReopen_;
  std::optional<Activation> dueReopen_;
  // The bus has started this process for a call that is still to come: its first start, and no reopening.
  bool isStartCallDue_;
};

}  // namespace platform::linux_desktop
