// Types keys into the applications through XTEST.
#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include "platform/linux/keyboard/KeyBalance.h"
#include "platform/linux/watchdog/WatchdogLink.h"
#include "platform/linux/x11/InputDevices.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// The keyboard that applications know takes after the one that was typed on last. When that changes, the server tells
// every program of a new keyboard, and window managers then grab their shortcuts anew: for a while nobody has them. The
// key that makes the change is not concerned; a shortcut that follows has to wait until the desktop has settled. On the
// tap's connection and thread.
class KeyEmitter {
 public:
  using Clock = std::chrono::steady_clock;

  KeyEmitter(XcbConnection& connection, InputDevices& devices, std::shared_ptr<WatchdogLink> watchdog)
      : connection_(connection), devices_(devices), watchdog_(std::move(watchdog)) {}

  // `downAfter`: what is down through our own emissions once these are made. They may wait for flush(), or for whatever
  // else is sent to the server first: with the end of a server grab they make one message.
  void emit(const std::vector<KeyBalance::Emission>& emissions, const KeySet& downAfter);
  void flush();
  // Whether a press of this key on XTEST's keyboard may be ours. Other programs type there too.
  bool mayHavePressed(KeyCode key) const { return key == lastPress_; }

  // The applications' keyboard takes after XTEST's, since something was emitted.
  bool hasTakenOver() const { return hasTakenOver_; }
  // The applications' keyboard takes after `typist` again, which must not float.
  void handBack(DeviceId typist);
  Clock::time_point lastEmission() const { return lastEmission_; }
  // When the shortcuts can be relied on again, after the last change; in the past if they can.
  Clock::time_point settlesAt() const { return settlesAt_; }

 private:
  XcbConnection& connection_;
  InputDevices& devices_;
  const std::shared_ptr<WatchdogLink> watchdog_;
  bool hasTakenOver_ = false;
  Clock::time_point settlesAt_;
  Clock::time_point lastEmission_;
  KeyCode lastPress_ = 0;
  KeySet shownDown_;  // on the watchdog's board
};

}  // namespace platform::linux_desktop
