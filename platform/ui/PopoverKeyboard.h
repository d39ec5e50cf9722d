// The keys while a popover is open: a few are for it, all others for the application in front.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QWidget>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform::ui {

// The modifiers of a key event, as the X server tells them.
using KeyState = std::uint32_t;

// Whether a press is for an open popover: what moves about in it, closes it or calls up the settings, and what presses
// a control if the user went to one. `keysym`: the key's without modifiers.
bool isForPopover(std::uint32_t keysym, KeyState state, bool isOnControl);

// Has the X server wait after each key until it is decided whose it is. The first one that is not for the popover
// closes it and goes, with all that follow, to the application in front, as if there had been no popover: but a
// shortcut of the desktop that is a single key is typed there, and one that comes just as the popover appears, before
// the server waits, may be lost. Main thread.
class PopoverKeyboard final : public QAbstractNativeEventFilter {
 public:
  // Does nothing where there is no X server.
  explicit PopoverKeyboard(QWidget& popover);
  PopoverKeyboard(const PopoverKeyboard&) = delete;
  PopoverKeyboard& operator=(const PopoverKeyboard&) = delete;
  ~PopoverKeyboard() override;

  // As soon as the popover is on the screen.
  void take();
  // Before it leaves. A key that has come since the last decision goes to the application in front.
  void giveBack();

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 private:
  std::uint32_t keysymOf(std::uint8_t key) const;

  QWidget& popover_;
  bool isTaken_ = false;
  // Of each key from the first one on, so many.
  std::vector<std::uint32_t> keysyms_;
  std::size_t keysymsPerKey_ = 1;
};

}  // namespace platform::ui
