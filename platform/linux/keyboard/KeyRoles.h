// What the keys of a keyboard mean to a tap: which are modifiers, and which carry which flags.
#pragma once

#include <array>

#include "platform/linux/intent/UserIntent.h"
#include "platform/linux/keyboard/KeyStroke.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Read from the keyboard's own keymap; what a key types is not kept.
class KeyRoles {
 public:
  // Asks the server. Without an answer the roles stay as they were.
  void load(XcbConnection& connection, DeviceId keyboard);

  bool isModifier(KeyCode key) const { return modifiers_[key]; }
  const KeySet& modifiers() const { return modifiers_; }
  UserIntent::KeyKind kindOf(KeyCode key) const { return kinds_[key]; }
  // The type of an event of this key.
  CGEventType typeOf(KeyCode key, bool isPress) const;
  // The flags of an event of `key` while `down` are the keys held.
  CGEventFlags flagsOf(KeyCode key, const KeySet& down) const;

 private:
  std::array<CGEventFlags, 256> held_{};  // while the key is held
  KeySet commands_;                       // keys that are a command by themselves
  KeySet modifiers_;
  std::array<UserIntent::KeyKind, 256> kinds_{};
};

}  // namespace platform::linux_desktop
