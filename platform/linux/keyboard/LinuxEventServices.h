// Event taps and posted events.
#pragma once

#include <memory>

#include "platform/Desktop.h"
#include "platform/linux/keyboard/ActivationDesk.h"

namespace platform::linux_desktop {

class LinuxEventServices final : public EventServices {
 public:
  // The desk of the taps to come.
  explicit LinuxEventServices(std::shared_ptr<ActivationDesk> desk) : desk_(std::move(desk)) {}

  CFMachPortRef createTap(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
                          CGEventMask mask, CGEventTapCallBack callback, void* userInfo) override;
  // Takes the copies of events that a tap has held back; anything else is dropped.
  void post(CGEventTapLocation location, std::unique_ptr<CGEvent> event) override;

 private:
  const std::shared_ptr<ActivationDesk> desk_;
};

}  // namespace platform::linux_desktop
