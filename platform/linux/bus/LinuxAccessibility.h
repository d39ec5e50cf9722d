// Accessibility: what the desktop lets this program do with other applications, and observers of them.
#pragma once

#include <memory>

#include "platform/Desktop.h"
#include "platform/linux/bus/AccessibilityBus.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Made on the main thread, once the application object is there.
class LinuxAccessibility : public AccessibilityServices {
 public:
  explicit LinuxAccessibility(XcbConnection& connection);

  // True while a window manager runs that can be watched and asked to activate a window, on an X server of its own.
  bool isProcessTrusted() override;
  // Observers know kAXApplicationActivatedNotification only. Without an accessibility bus: apiDisabled. Never waits.
  std::variant<AXError, AXObserverRef> createObserver(std::int32_t pid, AXObserverCallback callback) override;

 private:
  XcbConnection& connection_;
  std::shared_ptr<AccessibilityBus> bus_;
};

}  // namespace platform::linux_desktop
