// What the event tap knows of one key event.
#pragma once

#include "platform/CGEvent.h"
#include "platform/linux/base/Wiped.h"
#include "platform/linux/x11/Keys.h"

namespace platform::linux_desktop {

struct KeyStroke {
  Wiped<KeyCode> key;
  bool isPress = false;
  CGEventType type = kCGEventKeyDown;
  CGEventFlags flags = 0;
  CGPoint location;

  friend bool operator==(const KeyStroke& a, const KeyStroke& b) {
    return a.key == b.key && a.isPress == b.isPress && a.type == b.type && a.flags == b.flags;
  }
};

}  // namespace platform::linux_desktop
