#include "platform/ui/PopoverKeyboard.h"

#include <X11/keysym.h>

#include <QCoreApplication>
#include <utility>

#include "platform/ui/ToolkitConnection.h"

namespace platform::ui {
namespace {

std::uint8_t firstKey() {
  return xcb_get_setup(xConnection())->min_keycode;
}

// One that only writes. The others begin the shortcuts of the desktop.
bool isModifier(std::uint32_t keysym) {
  return (keysym >= XK_Shift_L && keysym <= XK_Shift_Lock) || (keysym >= XK_ISO_Lock && keysym <= XK_ISO_Level5_Lock) ||
         keysym == XK_Mode_switch || keysym == XK_Num_Lock || keysym == XK_Scroll_Lock;
}

void answer(xcb_allow_t mode) {
  xcb_allow_events(xConnection(), static_cast<std::uint8_t>(mode), XCB_CURRENT_TIME);
  xcb_flush(xConnection());
}

}  // namespace

bool isForPopover(std::uint32_t keysym, KeyState state, bool isOnControl) {
  if (isModifier(keysym)) return true;
  if ((state & (XCB_MOD_MASK_1 | XCB_MOD_MASK_4)) != 0) return false;
  if ((state & XCB_MOD_MASK_CONTROL) != 0) return keysym == XK_comma;
  switch (keysym) {
    case XK_Escape:
    case XK_Tab:
    case XK_ISO_Left_Tab:
    case XK_Left:
    case XK_Up:
    case XK_Right:
    case XK_Down:
      return true;
    case XK_Return:
    case XK_KP_Enter:
    case XK_space:
      return isOnControl;
    default:
      return false;
  }
}

PopoverKeyboard::PopoverKeyboard(QWidget& popover) : popover_(popover) {
  QCoreApplication::instance()->installNativeEventFilter(this);
}

PopoverKeyboard::~PopoverKeyboard() {
  giveBack();
  if (QCoreApplication::instance()) QCoreApplication::instance()->removeNativeEventFilter(this);
}

// The toolkit has grabbed the keyboard already, to be told of every key at once: the same again, waiting after each.
void PopoverKeyboard::take() {
  auto* connection = xConnection();
  if (!connection) return;
  const auto keyCount = static_cast<std::uint8_t>(xcb_get_setup(connection)->max_keycode - firstKey() + 1);
  const auto grab = xcb_grab_keyboard(connection, 0, static_cast<xcb_window_t>(popover_.winId()), XCB_CURRENT_TIME,
                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC);
  xcb_allow_events(connection, XCB_ALLOW_SYNC_KEYBOARD, XCB_CURRENT_TIME);
  const auto mapping = xcb_get_keyboard_mapping(connection, firstKey(), keyCount);
  const Reply<xcb_grab_keyboard_reply_t> grabbed(xcb_grab_keyboard_reply(connection, grab, nullptr));
  const Reply<xcb_get_keyboard_mapping_reply_t> keymap(xcb_get_keyboard_mapping_reply(connection, mapping, nullptr));
  isTaken_ = grabbed && grabbed->status == XCB_GRAB_STATUS_SUCCESS;
  if (!keymap || keymap->keysyms_per_keycode == 0) return;
  const auto* keysyms = xcb_get_keyboard_mapping_keysyms(keymap.get());
  keysyms_.assign(keysyms, keysyms + xcb_get_keyboard_mapping_keysyms_length(keymap.get()));
  keysymsPerKey_ = keymap->keysyms_per_keycode;
}

void PopoverKeyboard::giveBack() {
  if (!std::exchange(isTaken_, false)) return;
  answer(XCB_ALLOW_REPLAY_KEYBOARD);
  xcb_ungrab_keyboard(xConnection(), XCB_CURRENT_TIME);
  xcb_flush(xConnection());
}

bool PopoverKeyboard::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t" || !popover_.internalWinId()) return false;
  const auto& event = *static_cast<const xcb_generic_event_t*>(message);
  const int type = event.response_type & 0x7f;
  if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return false;
  const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
  if (key.event != popover_.internalWinId()) return false;
  // It came as the popover closed, and has gone where it belongs.
  if (!isTaken_) return true;
  const auto* focus = popover_.focusWidget();
  const bool isOnControl = focus != nullptr && focus != &popover_;
  if (type == XCB_KEY_RELEASE || isForPopover(keysymOf(key.detail), key.state, isOnControl)) {
    answer(XCB_ALLOW_SYNC_KEYBOARD);
    return false;
  }
  popover_.close();
  return true;
}

std::uint32_t PopoverKeyboard::keysymOf(std::uint8_t key) const {
  const std::size_t place = (key - std::size_t{firstKey()}) * keysymsPerKey_;
  return place < keysyms_.size() ? keysyms_[place] : XCB_NO_SYMBOL;
}

}  // namespace platform::ui
