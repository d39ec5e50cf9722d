#include "platform/linux/keyboard/KeyEmitter.h"

#include <xcb/xtest.h>

#include <utility>

namespace platform::linux_desktop {
namespace {

// Window managers take up to 60 ms, on a busy machine. Longer no shortcut should have to wait.
constexpr std::chrono::milliseconds longestSettling{100};

}  // namespace

void KeyEmitter::emit(const std::vector<KeyBalance::Emission>& emissions, const KeySet& downAfter) {
  if (emissions.empty()) return;
  for (const auto& [key, isPress] : emissions) {
    if (isPress) lastPress_ = key;
    xcb_test_fake_input(connection_, isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE,
                        0, 0, 0);
  }
  lastEmission_ = Clock::now();
  if (!std::exchange(hasTakenOver_, true)) settlesAt_ = lastEmission_ + longestSettling;
  // Whenever this process is stopped, the watchdog finds every key on the board that may be down.
  const KeySet before = std::exchange(shownDown_, downAfter);
  watchdog_->emittedDown(before | shownDown_);
}

void KeyEmitter::flush() {
  xcb_flush(connection_);
  watchdog_->emittedDown(shownDown_);
}

void KeyEmitter::handBack(DeviceId typist) {
  devices_.makeSource(typist);
  hasTakenOver_ = false;
  settlesAt_ = Clock::now() + longestSettling;
  xcb_flush(connection_);
}

}  // namespace platform::linux_desktop
