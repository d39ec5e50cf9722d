// Low-level keyboard and mouse events, and the tap that sees, passes or drops them before they reach an application.
#pragma once

#include <cstdint>
#include <memory>

namespace platform {

using CGEventType = std::uint32_t;
inline constexpr CGEventType kCGEventLeftMouseDown = 1;
inline constexpr CGEventType kCGEventRightMouseDown = 3;
inline constexpr CGEventType kCGEventKeyDown = 10;
inline constexpr CGEventType kCGEventKeyUp = 11;
inline constexpr CGEventType kCGEventFlagsChanged = 12;
inline constexpr CGEventType kCGEventOtherMouseDown = 25;
inline constexpr CGEventType kCGEventTapDisabledByTimeout = 0xFFFFFFFE;
inline constexpr CGEventType kCGEventTapDisabledByUserInput = 0xFFFFFFFF;

using CGEventFlags = std::uint64_t;
inline constexpr CGEventFlags kCGEventFlagMaskShift = 1u << 17;
inline constexpr CGEventFlags kCGEventFlagMaskControl = 1u << 18;
inline constexpr CGEventFlags kCGEventFlagMaskAlternate = 1u << 19;
inline constexpr CGEventFlags kCGEventFlagMaskCommand = 1u << 20;

using CGEventMask = std::uint64_t;

struct CGPoint {
  double x = 0;
  double y = 0;
};

// One event. What key it is of stays inside the desktop: nothing above the platform can read it.
class CGEvent {
 public:
  CGEvent() = default;
  CGEvent(const CGEvent&) = delete;
  CGEvent& operator=(const CGEvent&) = delete;
  virtual ~CGEvent() = default;

  virtual CGEventFlags flags() const = 0;
  // In pixels of the screen, origin at the top left.
  virtual CGPoint location() const = 0;
  // An independent copy that may outlive the event and be posted once; null where there cannot be one, because the
  // event has reached an application already.
  virtual std::unique_ptr<CGEvent> copy() const = 0;
};

inline CGEventFlags CGEventGetFlags(const CGEvent& event) {
  return event.flags();
}
inline CGPoint CGEventGetLocation(const CGEvent& event) {
  return event.location();
}
inline std::unique_ptr<CGEvent> CGEventCreateCopy(const CGEvent& event) {
  return event.copy();
}

enum class CGEventTapLocation : std::uint32_t { hid = 0, session = 1 };
enum class CGEventTapPlacement : std::uint32_t { headInsert = 0, tailAppend = 1 };
enum class CGEventTapOptions : std::uint32_t { active = 0, listenOnly = 1 };

// Opaque; may be ignored.
using CGEventTapProxy = void*;

// Called on the thread whose run loop holds the tap's source. Returns the event to let it pass, null to drop it. The
// event lives only for the call.
using CGEventTapCallBack = CGEvent* (*)(CGEventTapProxy proxy, CGEventType type, CGEvent& event, void* userInfo);

// A tap. Releasing the last reference ends it.
class CFMachPort {
 public:
  CFMachPort() = default;
  CFMachPort(const CFMachPort&) = delete;
  CFMachPort& operator=(const CFMachPort&) = delete;
  virtual ~CFMachPort() = default;

  // Any thread, as for invalidate(). A disabled tap is called for nothing and holds nothing back.
  virtual void setEnabled(bool enabled) = 0;
  virtual bool isEnabled() const = 0;
  virtual void invalidate() = 0;
};
using CFMachPortRef = std::shared_ptr<CFMachPort>;

// Creates an enabled tap for the event types in `mask` (bit n for type n). Null without the permission for it, or where
// this desktop offers no tap. The callback runs only after the tap's source is in a run loop. Any thread.
CFMachPortRef CGEventTapCreate(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
                               CGEventMask mask, CGEventTapCallBack callback, void* userInfo);
void CGEventTapEnable(const CFMachPortRef& tap, bool enable);
bool CGEventTapIsEnabled(const CFMachPortRef& tap);
void CFMachPortInvalidate(const CFMachPortRef& tap);

// Puts an event into the stream, where it enters every tap like any other and then reaches the application in front.
// Events posted one after another by one thread stay in order, and copies stay in the order in which their originals
// came, before everything that came later. Any thread; returns without waiting for delivery. A copy that the desktop no
// longer accepts (held too long) is dropped.
void CGEventPost(CGEventTapLocation location, std::unique_ptr<CGEvent> event);

}  // namespace platform
