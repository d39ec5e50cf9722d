#include "platform/linux/LinuxDesktop.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QUuid>

namespace platform::linux_desktop {

std::unique_ptr<LinuxDesktop> LinuxDesktop::open(const std::string& applicationIdentifier) {
  auto connection = XcbConnection::open();
  if (!connection) return nullptr;
  return std::unique_ptr<LinuxDesktop>(new LinuxDesktop(applicationIdentifier, std::move(connection)));
}

LinuxDesktop::LinuxDesktop(const std::string& applicationIdentifier, std::unique_ptr<XcbConnection> connection)
    : connection_(std::move(connection)),
      log_(applicationIdentifier, STDERR_FILENO),
      desk_(std::make_shared<ActivationDesk>(tasks_)),
      events_(desk_),
      userDefaults_(applicationIdentifier),
      userNotificationCenter_(applicationIdentifier),
      autostartEntry_(applicationIdentifier, QCoreApplication::applicationFilePath().toStdString()),
      installed_(applicationIdentifier),
      workspace_(*connection_, tasks_, *desk_, installed_, opener_, applicationIdentifier),
      sessionWatch_(workspace_.notificationCenter()),
      accessibility_(*connection_) {}

LinuxDesktop::~LinuxDesktop() = default;

void LinuxDesktop::setConnectionLostHandler(std::function<void()> handler) {
  workspace_.setConnectionLostHandler(std::move(handler));
}

void LinuxDesktop::setWindowManagerHandler(std::function<void()> handler) {
  workspace_.setWindowManagerHandler(std::move(handler));
}

void LinuxDesktop::judgeStart(const Activation& start, const std::function<void(bool isFresh)>& then) {
  workspace_.judgeStart(start, then);
}

std::string LinuxDesktop::newUUID() {
  return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

}  // namespace platform::linux_desktop
