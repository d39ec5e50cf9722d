// An event tap on the keyboards and mice of an X server.
#pragma once

#include <atomic>
#include <memory>

#include "platform/linux/keyboard/ActivationDesk.h"
#include "platform/linux/threads/LinuxRunLoops.h"

namespace platform::linux_desktop {

// A handle to a tap; the work is done by its source, on the thread whose loop holds it.
class LinuxEventTap final : public PolledPort {
 public:
  // Null where the server, or what it offers, allows no tap, or where it is a guest in a Wayland session. While the tap
  // runs, activations wait at `desk` for it.
  static std::shared_ptr<LinuxEventTap> create(CGEventTapOptions options, CGEventMask mask, CGEventTapCallBack callback,
                                               void* userInfo, std::shared_ptr<ActivationDesk> desk);

  void setEnabled(bool enabled) override;
  bool isEnabled() const override;
  void invalidate() override;
  // Absent for a tap that may only listen.
  CFRunLoopSourceRef createSource() const override;

 private:
  class Source;
  explicit LinuxEventTap(std::shared_ptr<Source> source) : source_(std::move(source)) {}

  const std::shared_ptr<Source> source_;
};

}  // namespace platform::linux_desktop
