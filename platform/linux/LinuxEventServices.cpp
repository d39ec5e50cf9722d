#include "platform/linux/LinuxEventServices.h"

#include "platform/linux/HeldKeys.h"
#include "platform/linux/LinuxEventTap.h"

namespace platform::linux_desktop {

CFMachPortRef LinuxEventServices::createTap(CGEventTapLocation, CGEventTapPlacement, CGEventTapOptions options,
                                            CGEventMask mask, CGEventTapCallBack callback, void* userInfo) {
  return LinuxEventTap::create(options, mask, callback, userInfo);
}

void LinuxEventServices::post(CGEventTapLocation, std::unique_ptr<CGEvent> event) {
  auto* key = dynamic_cast<HeldKey*>(event.get());
  if (!key) return;
  const auto front = NSWorkspace::sharedWorkspace().frontmostApplication();
  key->post(front ? std::optional<pid_t>(front->processIdentifier()) : std::nullopt);
}

}  // namespace platform::linux_desktop
