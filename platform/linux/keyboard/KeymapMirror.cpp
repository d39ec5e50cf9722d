#include "platform/linux/keyboard/KeymapMirror.h"

#include <X11/XKBlib.h>
#include <X11/Xlib-xcb.h>
#include <X11/Xlib.h>
#include <X11/extensions/XKBgeom.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

namespace platform::linux_desktop {
namespace {

// Devices and servers may vanish at any moment. Neither may end the process, which is what Xlib does by itself.
int ignoreError(Display*, XErrorEvent*) {
  return 0;
}

// Thrown out of Xlib when the server is gone. There is no way on inside: Xlib would exit, or write beyond its buffer.
struct ServerLost {};
thread_local bool catchesServerLost = false;

int leaveXlib(Display*) {
  if (catchesServerLost) throw ServerLost();
  return 0;
}

struct CloseDisplay {
  void operator()(Display* display) const {
    try {
      XCloseDisplay(display);
    } catch (const ServerLost&) {
      // Left as it is: closing is all that it was still good for.
    }
  }
};
using DisplayOwned = std::unique_ptr<Display, CloseDisplay>;

struct FreeKeyboard {
  void operator()(XkbDescPtr keyboard) const { XkbFreeKeyboard(keyboard, XkbAllComponentsMask, True); }
};
using KeyboardOwned = std::unique_ptr<XkbDescRec, FreeKeyboard>;

DisplayOwned openDisplay() {
  DisplayOwned display(XOpenDisplay(nullptr));
  if (!display) return nullptr;
  int opcode = 0;
  int event = 0;
  int error = 0;
  int major = XkbMajorVersion;
  int minor = XkbMinorVersion;
  if (!XkbQueryExtension(display.get(), &opcode, &event, &error, &major, &minor)) return nullptr;
  return display;
}

// Everything that decides what the keys of the keyboard mean, as text; empty if it cannot be had.
std::string describe(Display* display, DeviceId keyboard) {
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS),
                                                                           xkb_context_unref);
  if (!context) return {};
  xkb_context_set_log_level(context.get(), XKB_LOG_LEVEL_CRITICAL);
  const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
      xkb_x11_keymap_new_from_device(context.get(), XGetXCBConnection(display), keyboard, XKB_KEYMAP_COMPILE_NO_FLAGS),
      xkb_keymap_unref);
  if (!keymap) return {};
  const std::unique_ptr<char, decltype(&std::free)> text(
      xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1), std::free);
  return text ? text.get() : std::string();
}

void copyKeymap(Display* display, DeviceId from, DeviceId to) {
  const std::string wanted = describe(display, from);
  // What cannot be described is not known to be equal.
  if (!wanted.empty() && wanted == describe(display, to)) return;
  // Part by part: a whole keyboard comes through the server's keymap compiler, which mangles the names.
  constexpr unsigned names = XkbAllNamesMask & ~XkbGeometryNameMask;
  const KeyboardOwned keyboard(XkbGetMap(display, XkbAllMapComponentsMask, from));
  if (!keyboard || !keyboard->map || XkbGetIndicatorMap(display, ~0UL, keyboard.get()) != Success ||
      XkbGetCompatMap(display, XkbAllCompatMask, keyboard.get()) != Success ||
      XkbGetNames(display, names, keyboard.get()) != Success) {
    return;
  }
  keyboard->device_spec = to;
  XkbSetMap(display, XkbAllMapComponentsMask, keyboard.get());
  XkbSetIndicatorMap(display, ~0UL, keyboard.get());
  XkbSetCompatMap(display, XkbAllCompatMask, keyboard.get(), True);
  XkbSetNames(display, names, 0, keyboard->map->num_types, keyboard.get());
}

void copyRepeat(Display* display, DeviceId from, DeviceId to) {
  constexpr unsigned long repeat = XkbRepeatKeysMask | XkbPerKeyRepeatMask | XkbControlsEnabledMask;
  const KeyboardOwned keyboard(XkbAllocKeyboard());
  if (!keyboard) return;
  keyboard->device_spec = from;
  if (XkbGetControls(display, repeat, keyboard.get()) != Success) return;
  keyboard->device_spec = to;
  XkbSetControls(display, repeat, keyboard.get());
}

}  // namespace

KeymapMirror::KeymapMirror() : thread_([this] { run(); }) {}

KeymapMirror::~KeymapMirror() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void KeymapMirror::copy(DeviceId from, DeviceId to) {
  const Request request{from, to};
  {
    const std::lock_guard lock(mutex_);
    if (std::find(requests_.begin(), requests_.end(), request) != requests_.end()) return;
    requests_.push_back(request);
  }
  changed_.notify_all();
}

bool KeymapMirror::isIdle() {
  const std::lock_guard lock(mutex_);
  return requests_.empty() && !isCopying_;
}

void KeymapMirror::run() {
  XSetErrorHandler(ignoreError);
  XSetIOErrorHandler(leaveXlib);
  catchesServerLost = true;
  DisplayOwned display;
  std::unique_lock lock(mutex_);
  for (;;) {
    isCopying_ = false;
    changed_.wait(lock, [this] { return isEnding_ || !requests_.empty(); });
    if (isEnding_) return;
    const Request request = requests_.front();
    requests_.pop_front();
    isCopying_ = true;
    lock.unlock();
    try {
      if (!display) display = openDisplay();
      if (display) {
        copyKeymap(display.get(), request.from, request.to);
        copyRepeat(display.get(), request.from, request.to);
        XSync(display.get(), True);
      }
    } catch (const ServerLost&) {
      display.reset();
    }
    lock.lock();
  }
}

}  // namespace platform::linux_desktop
