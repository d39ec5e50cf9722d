#include "platform/linux/keyboard/KeymapKeeper.h"

#include <algorithm>

#include "platform/linux/watchdog/KeyRecovery.h"
#include "platform/linux/x11/Xkb.h"

namespace platform::linux_desktop {
namespace {

constexpr std::uint16_t watchedEvents =
    XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_CONTROLS_NOTIFY;

// What all events of the extension begin with.
struct XkbEvent {
  std::uint8_t responseType;
  std::uint8_t xkbType;
  std::uint16_t sequence;
  xcb_timestamp_t time;
  std::uint8_t device;
};

}  // namespace

void KeymapKeeper::begin() {
  firstEvent_ = xcb_get_extension_data(connection_, &xcb_xkb_id)->first_event;
}

void KeymapKeeper::setDevices(const std::vector<DeviceId>& keyboards, std::optional<DeviceId> xtest,
                              std::optional<DeviceId> master) {
  keyboards_ = keyboards;
  xtest_ = xtest;
  master_ = master;
  std::set<DeviceId> wanted(keyboards.begin(), keyboards.end());
  if (xtest) wanted.insert(*xtest);
  for (const DeviceId device : wanted) {
    if (watched_.count(device)) continue;
    const xcb_xkb_select_events_details_t none{};
    constexpr std::uint16_t allParts = 0xff;
    xcb_xkb_select_events(connection_, device, watchedEvents, 0, watchedEvents, allParts, allParts, &none);
  }
  watched_ = std::move(wanted);
}

void KeymapKeeper::forget(DeviceId keyboard) {
  watched_.erase(keyboard);
  if (typist_ == keyboard) typist_ = 0;
}

void KeymapKeeper::keyboardTypes(DeviceId keyboard) {
  if (typist_ == keyboard || !xtest_) return;
  typist_ = keyboard;
  copyToXtest();
}

bool KeymapKeeper::isKeymapEvent(const xcb_generic_event_t& event) const {
  return firstEvent_ != 0 && (event.response_type & ~0x80) == firstEvent_;
}

bool KeymapKeeper::handle(const xcb_generic_event_t& event, bool isGateClosed) {
  const auto& change = reinterpret_cast<const XkbEvent&>(event);
  if (!xtest_) return false;
  if (change.device == *xtest_) {
    if (isGateClosed && !mayBeOurs(event)) hasChangedWhileClosed_ = true;
    return false;
  }
  if (change.device != typist_) return false;
  copyToXtest();
  return change.xkbType != XCB_XKB_CONTROLS_NOTIFY;
}

void KeymapKeeper::copyToXtest() {
  mirror_.copy(typist_, *xtest_);
  hasCopiedToXtest_ = true;
  endOfCopies_.reset();
}

// The copies are made over another connection: what they cause may be read here long after they are made, but it came
// before any request that was sent afterwards.
void KeymapKeeper::noteEndOfCopies() {
  if (!hasCopiedToXtest_ || endOfCopies_ || !mirror_.isIdle()) return;
  endOfCopies_ = xcb_no_operation(connection_).sequence;
  xcb_flush(connection_);
}

bool KeymapKeeper::mayBeOurs(const xcb_generic_event_t& event) const {
  return hasCopiedToXtest_ && !(endOfCopies_ && isAtOrPast(event.full_sequence, *endOfCopies_));
}

bool KeymapKeeper::isReadyToOpen() {
  if (hasChangedWhileClosed_ && xtest_) {
    for (const DeviceId keyboard : keyboards_) mirror_.copy(*xtest_, keyboard);
  }
  hasChangedWhileClosed_ = false;
  return mirror_.isIdle();
}

void KeymapKeeper::copyLocksTo(DeviceId keyboard) {
  if (master_) copyLocks(connection_, *master_, keyboard);
}

}  // namespace platform::linux_desktop
