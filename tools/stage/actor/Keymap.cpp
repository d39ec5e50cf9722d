#include "Keymap.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <stdexcept>

#include "tools/stage/Xkb.h"

namespace stage {

Keymap::Keymap(const XConnection& connection)
    : connection_(connection),
      context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref),
      keymap_(nullptr, &xkb_keymap_unref) {
  if (xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                  XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent_, nullptr) == 0) {
    throw std::runtime_error("the X server has no XKB");
  }
  const std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  const std::uint16_t parts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
  xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts, nullptr);
  load();
}

void Keymap::load() {
  const auto device = xkb_x11_get_core_keyboard_device_id(connection_);
  keymap_.reset(xkb_x11_keymap_new_from_device(context_.get(), connection_, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
  if (!keymap_) throw std::runtime_error("the keyboard has no keymap");
}

bool Keymap::follow(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != firstEvent_) return false;
  load();
  return true;
}

xkb_keysym_t Keymap::keysym(const xcb_key_press_event_t& event) const {
  const std::unique_ptr<xkb_state, void (*)(xkb_state*)> state(xkb_state_new(keymap_.get()), &xkb_state_unref);
  constexpr std::uint16_t allModifiers = 0xff;
  constexpr unsigned groupShift = 13;
  xkb_state_update_mask(state.get(), event.state & allModifiers, 0, 0, (event.state >> groupShift) & 3u, 0, 0);
  return xkb_state_key_get_one_sym(state.get(), event.detail);
}

}  // namespace stage
