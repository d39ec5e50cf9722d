#include "platform/linux/DBusCalls.h"

#include <QFileInfo>

namespace platform::linux_desktop {

QString sessionBusAddress() {
  QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
  if (!address.isEmpty()) return address;
  const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
  return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

}  // namespace platform::linux_desktop
