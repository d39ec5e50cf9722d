#include "tools/stage/NotificationService.h"

#include <stdexcept>

#include "tools/stage/Waiting.h"

namespace stage {

std::unique_ptr<ChildProcess> startNotificationService(const VirtualDesktop& desktop) {
  auto service =
      std::make_unique<ChildProcess>(std::vector<std::string>{"/usr/lib/notification-daemon/notification-daemon"},
                                     ChildProcess::Options{desktop.environment()});
  const std::vector<std::string> hasOwner{"dbus-send",
                                          "--session",
                                          "--print-reply",
                                          "--dest=org.freedesktop.DBus",
                                          "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus.GetNameOwner",
                                          "string:org.freedesktop.Notifications"};
  if (!eventually([&] { return desktop.run(hasOwner); })) throw std::runtime_error("no notification service");
  return service;
}

}  // namespace stage
