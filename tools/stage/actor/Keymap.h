// What the keys mean, as a well-behaved application sees it: it follows every change of the keyboard's layout.
#pragma once

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <memory>

#include "tools/stage/XConnection.h"

namespace stage {

class Keymap {
 public:
  explicit Keymap(const XConnection& connection);

  // True if the event told of a change of layout; it has been followed then.
  bool follow(const xcb_generic_event_t& event);
  // The keysym of a key event, from the key code and the modifiers and group that came with it.
  xkb_keysym_t keysym(const xcb_key_press_event_t& event) const;

 private:
  void load();

  const XConnection& connection_;
  std::unique_ptr<xkb_context, void (*)(xkb_context*)> context_;
  std::unique_ptr<xkb_keymap, void (*)(xkb_keymap*)> keymap_;
  std::uint8_t firstEvent_ = 0;
};

}  // namespace stage
