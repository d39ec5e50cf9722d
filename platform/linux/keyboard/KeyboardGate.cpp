#include "platform/linux/keyboard/KeyboardGate.h"

#include <xcb/xcbext.h>
#include <xcb/xinput.h>

namespace platform::linux_desktop {

void KeyboardGate::close(const std::vector<DeviceId>& keyboards) {
  isClosed_ = true;
  // With raw events in the grab's own mask, and those only, the server's auto-repeat does not come here.
  const std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
  for (const DeviceId keyboard : keyboards) {
    Side& side = sides_[keyboard];
    if (side.isGrabbed()) continue;
    const auto cookie = xcb_input_xi_grab_device(connection_, connection_.root(), XCB_CURRENT_TIME, XCB_CURSOR_NONE,
                                                 keyboard, XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
                                                 XCB_INPUT_GRAB_OWNER_NO_OWNER, 1, &mask);
    side.boundaries.push_back({cookie.sequence, true});
  }
  xcb_flush(connection_);
}

void KeyboardGate::open() {
  isClosed_ = false;
  for (auto& [keyboard, side] : sides_) {
    if (side.isGrabbed()) ungrab(keyboard, side);
  }
  xcb_flush(connection_);
}

void KeyboardGate::release(DeviceId keyboard) {
  const auto side = sides_.find(keyboard);
  if (side != sides_.end() && side->second.isGrabbed()) ungrab(keyboard, side->second);
}

void KeyboardGate::ungrab(DeviceId keyboard, Side& side) {
  const auto cookie = xcb_input_xi_ungrab_device(connection_, XCB_CURRENT_TIME, keyboard);
  side.boundaries.push_back({cookie.sequence, false});
}

bool KeyboardGate::isGrabbed(DeviceId keyboard) const {
  const auto side = sides_.find(keyboard);
  return side != sides_.end() && side->second.isGrabbed();
}

std::vector<DeviceId> KeyboardGate::grabbed() const {
  std::vector<DeviceId> devices;
  for (const auto& [keyboard, side] : sides_) {
    if (side.isGrabbed()) devices.push_back(keyboard);
  }
  return devices;
}

void KeyboardGate::forget(DeviceId keyboard) {
  const auto side = sides_.find(keyboard);
  if (side != sides_.end()) side->second.isHeld = false;
}

void KeyboardGate::reached(std::uint32_t sequence) {
  for (auto& [keyboard, side] : sides_) {
    while (!side.boundaries.empty() && isAtOrPast(sequence, side.boundaries.front().sequence)) {
      const Boundary& boundary = side.boundaries.front();
      side.isHeld = boundary.isHeld && isGranted(boundary);
      side.boundaries.pop_front();
    }
  }
}

bool KeyboardGate::holds(DeviceId keyboard) const {
  const auto side = sides_.find(keyboard);
  return side != sides_.end() && side->second.isHeld;
}

// The reply to a grab is in the stream before every event after it, so it is here by now. A grab is refused while
// somebody else grabs the keyboard: then its events are not ours to hold.
bool KeyboardGate::isGranted(const Boundary& boundary) {
  void* reply = nullptr;
  xcb_generic_error_t* error = nullptr;
  const int isHere = xcb_poll_for_reply(connection_, boundary.sequence, &reply, &error);
  const XcbOwned<xcb_input_xi_grab_device_reply_t> grab(static_cast<xcb_input_xi_grab_device_reply_t*>(reply));
  const XcbOwned<xcb_generic_error_t> refusal(error);
  return isHere && grab && grab->status == XCB_GRAB_STATUS_SUCCESS;
}

}  // namespace platform::linux_desktop
