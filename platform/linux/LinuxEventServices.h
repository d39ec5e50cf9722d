// Event taps and posted events.
#pragma once

#include "platform/Desktop.h"

namespace platform::linux_desktop {

class LinuxEventServices final : public EventServices {
 public:
  CFMachPortRef createTap(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
                          CGEventMask mask, CGEventTapCallBack callback, void* userInfo) override;
  // Takes the copies of events that a tap has held back; anything else is dropped.
  void post(CGEventTapLocation location, std::unique_ptr<CGEvent> event) override;
};

}  // namespace platform::linux_desktop
