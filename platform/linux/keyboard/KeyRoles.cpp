#include "platform/linux/keyboard/KeyRoles.h"

#include <X11/keysym.h>
#include <xcb/xinput.h>

namespace platform::linux_desktop {
namespace {

constexpr xcb_keysym_t firstVendorSymbol = 0x1008FF01;
constexpr xcb_keysym_t lastVendorSymbol = 0x1008FFFF;

using Kind = UserIntent::KeyKind;

struct Role {
  Kind kind = Kind::plain;
  CGEventFlags held = 0;
  bool isCommand = false;
};

// People switch and launch with Super and with Alt (Alt-Tab, Alt-F2, Ctrl-Alt-T), which therefore carry Command as
// well. AltGr only writes, and does not.
Role roleOf(xcb_keysym_t symbol) {
  switch (symbol) {
    case XK_Shift_L:
    case XK_Shift_R:
      return {Kind::modifier, kCGEventFlagMaskShift};
    case XK_Control_L:
    case XK_Control_R:
      return {Kind::switchModifier, kCGEventFlagMaskControl};
    case XK_Alt_L:
    case XK_Alt_R:
    case XK_Meta_L:
    case XK_Meta_R:
      return {Kind::switchModifier, kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand};
    case XK_ISO_Level3_Shift:
    case XK_Mode_switch:
      return {Kind::modifier, kCGEventFlagMaskAlternate};
    case XK_Super_L:
    case XK_Super_R:
    case XK_Hyper_L:
    case XK_Hyper_R:
      return {Kind::super, kCGEventFlagMaskCommand};
    case XK_Caps_Lock:
    case XK_Shift_Lock:
    case XK_Num_Lock:
    case XK_ISO_Level5_Shift:
    case XK_ISO_Level3_Latch:
    case XK_ISO_Level5_Latch:
    case XK_ISO_Next_Group:
    case XK_ISO_Prev_Group:
    case XK_ISO_First_Group:
    case XK_ISO_Last_Group:
      return {Kind::modifier};
    case XK_Return:
    case XK_KP_Enter:
    case XK_ISO_Enter:
      return {Kind::enter};
    case XK_space:
    case XK_KP_Space:
      return {Kind::space};
    default:
      // Launcher and media keys are the vendor symbols.
      return {Kind::plain, 0, symbol >= firstVendorSymbol && symbol <= lastVendorSymbol};
  }
}

}  // namespace

void KeyRoles::load(XcbConnection& connection, DeviceId keyboard) {
  const xcb_setup_t* setup = xcb_get_setup(connection);
  if (!setup) return;  // the connection is lost
  const int first = setup->min_keycode;
  const int count = setup->max_keycode - first + 1;
  const auto mapping =
      replyTo(connection, xcb_input_get_device_key_mapping_reply,
              xcb_input_get_device_key_mapping(connection, static_cast<std::uint8_t>(keyboard),
                                               static_cast<KeyCode>(first), static_cast<std::uint8_t>(count)));
  if (!mapping || mapping->keysyms_per_keycode == 0) return;

  held_.fill(0);
  commands_.reset();
  modifiers_.reset();
  kinds_.fill(Kind::plain);
  const xcb_keysym_t* symbols = xcb_input_get_device_key_mapping_keysyms(mapping.get());
  const int length = xcb_input_get_device_key_mapping_keysyms_length(mapping.get());
  for (int i = 0; i < count && (i + 1) * mapping->keysyms_per_keycode <= length; ++i) {
    const Role role = roleOf(symbols[i * mapping->keysyms_per_keycode]);
    const auto key = static_cast<std::size_t>(first + i);
    held_[key] = role.held;
    modifiers_.set(key, UserIntent::isModifier(role.kind));
    kinds_[key] = role.kind;
    commands_.set(key, role.isCommand);
  }
}

CGEventType KeyRoles::typeOf(KeyCode key, bool isPress) const {
  if (isModifier(key)) return kCGEventFlagsChanged;
  return isPress ? kCGEventKeyDown : kCGEventKeyUp;
}

CGEventFlags KeyRoles::flagsOf(KeyCode key, const KeySet& down) const {
  CGEventFlags flags = commands_[key] ? kCGEventFlagMaskCommand : 0;
  const KeySet held = down & modifiers_;
  if (held.none()) return flags;
  for (std::size_t i = 0; i < held.size(); ++i) {
    if (held[i]) flags |= held_[i];
  }
  return flags;
}

}  // namespace platform::linux_desktop
