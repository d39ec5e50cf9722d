#include "platform/linux/keyboard/LinuxEventServices.h"

#include "platform/linux/keyboard/HeldKeys.h"
#include "platform/linux/keyboard/LinuxEventTap.h"

namespace platform::linux_desktop {

CFMachPortRef LinuxEventServices::createTap(CGEventTapLocation, CGEventTapPlacement, CGEventTapOptions options,
                                            CGEventMask mask, CGEventTapCallBack callback, void* userInfo) {
  return LinuxEventTap::create(options, mask, callback, userInfo, desk_);
}

void LinuxEventServices::post(CGEventTapLocation, std::unique_ptr<CGEvent> event) {
  if (auto* key = dynamic_cast<HeldKey*>(event.get())) key->post();
}

}  // namespace platform::linux_desktop
