// What a press means to whoever asks whether the user wanted something.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/CGEvent.h"
#include "platform/linux/keyboard/KeyStroke.h"

namespace platform::linux_desktop {

// Nothing for wheel buttons.
inline std::optional<CGEventType> typeOfButton(std::uint32_t button) {
  switch (button) {
    case 1:
      return kCGEventLeftMouseDown;
    case 3:
      return kCGEventRightMouseDown;
    case 4:
    case 5:
    case 6:
    case 7:
      return std::nullopt;
    default:
      return kCGEventOtherMouseDown;
  }
}

// The user says where to go.
inline bool isGesture(CGEventType type, const CGEvent& event) {
  switch (type) {
    case kCGEventLeftMouseDown:
    case kCGEventRightMouseDown:
    case kCGEventOtherMouseDown:
      return true;
    case kCGEventKeyDown:
      return (CGEventGetFlags(event) & kCGEventFlagMaskCommand) != 0;
    default:
      return false;
  }
}

// The press may be for whoever has grabbed it, as window managers do with their shortcuts.
inline bool mayBeShortcut(const KeyStroke& stroke) {
  return stroke.isPress && stroke.type == kCGEventKeyDown &&
         (stroke.flags & (kCGEventFlagMaskCommand | kCGEventFlagMaskControl)) != 0;
}

}  // namespace platform::linux_desktop
