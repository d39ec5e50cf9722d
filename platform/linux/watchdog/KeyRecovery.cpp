#include "platform/linux/watchdog/KeyRecovery.h"

#include <xcb/xtest.h>

#include "platform/linux/x11/Xkb.h"

namespace platform::linux_desktop {

void copyLocks(XcbConnection& connection, DeviceId master, DeviceId keyboard) {
  const auto state = replyTo(connection, xcb_xkb_get_state_reply, xcb_xkb_get_state(connection, master));
  if (!state) return;
  constexpr std::uint8_t allModifiers = 0xff;
  xcb_xkb_latch_lock_state(connection, keyboard, allModifiers, state->lockedMods, 1, state->lockedGroup, 0, 0, 0);
}

void releaseStrandedKeys(XcbConnection& connection, const KeySet& emitted) {
  InputDevices devices(connection);
  if (!devices.isSupported()) return;
  devices.refresh({});
  const auto downAt = [&](std::optional<DeviceId> device) {
    return device ? devices.keysDown(*device).value_or(KeySet()) : KeySet();
  };
  // The fingers last: a key that goes down meanwhile must not count as held by nobody.
  const KeySet applications = downAt(devices.masterKeyboard());
  const KeySet others = downAt(devices.xtestKeyboard()) & ~emitted;
  KeySet fingers;
  for (const DeviceId keyboard : devices.keyboards()) fingers |= devices.keysDown(keyboard).value_or(KeySet());
  const KeySet stranded = emitted | (applications & ~fingers & ~others);
  for (std::size_t key = 0; key < stranded.size(); ++key) {
    if (!stranded[key]) continue;
    xcb_test_fake_input(connection, XCB_KEY_RELEASE, static_cast<KeyCode>(key), XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0,
                        0);
  }
  if (devices.masterKeyboard()) {
    for (const DeviceId keyboard : devices.keyboards()) copyLocks(connection, *devices.masterKeyboard(), keyboard);
  }
  // Waits until the server has done it.
  replyTo(connection, xcb_get_input_focus_reply, xcb_get_input_focus(connection));
}

}  // namespace platform::linux_desktop
