// The keyboards and mice that people touch, and the keyboard that programs type on.
#pragma once

#include <xcb/xinput.h>

#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/x11/Keys.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// The slave devices of the core keyboard and pointer. On the tap's thread.
class InputDevices {
 public:
  explicit InputDevices(XcbConnection& connection);

  // Negotiates XInput 2.2, XTEST and XKB; false if the server lacks one of them.
  bool isSupported();
  // Asks the server anew which devices there are, and asks for the raw events of those that are physical, and for what
  // is typed through XTEST. A keyboard that we hold floats; `ours` names those, all other floating ones are somebody
  // else's business.
  void refresh(const std::vector<DeviceId>& ours);
  // Asks to be told when devices come and go.
  void watchHierarchy();
  // The devices that went, or were switched off, with this event. Others may have their numbers by now.
  static std::vector<DeviceId> goneWith(const xcb_input_hierarchy_event_t& event);
  // The devices that somebody attached to a master, or made float, with this event; our own grabs tell none.
  static std::vector<std::pair<DeviceId, bool /*isAttached*/>> movedWith(const xcb_input_hierarchy_event_t& event);
  // Makes it float: applications get nothing of it.
  void detach(DeviceId device);
  void forget(DeviceId device) { std::erase(keyboards_, device); }

  // The physical keyboards.
  const std::vector<DeviceId>& keyboards() const { return keyboards_; }
  // Whether it is one of the physical mice and the like.
  bool isPointer(DeviceId device) const;
  // The one that XTEST types on; absent if the server has none.
  std::optional<DeviceId> xtestKeyboard() const { return xtestKeyboard_; }
  // The one that applications listen to.
  std::optional<DeviceId> masterKeyboard() const { return masterKeyboard_; }
  // Makes it the one that the applications' keyboard has its keymap from, as the next key typed on it would. The server
  // then tells all programs of a new keyboard, and some grab their shortcuts anew: for a moment nobody has them.
  void makeSource(DeviceId keyboard);
  // That is done by the release of this key, which nobody has down.
  KeyCode idleKey() const { return idleKey_; }
  // The keys that the device has down; absent if it is gone.
  std::optional<KeySet> keysDown(DeviceId device);
  std::uint8_t xinputOpcode();

 private:
  bool isXtest(DeviceId device);
  void select(DeviceId device, std::uint32_t mask);

  XcbConnection& connection_;
  KeyCode idleKey_ = 0;
  std::vector<DeviceId> keyboards_;
  std::vector<DeviceId> pointers_;
  std::optional<DeviceId> xtestKeyboard_;
  std::optional<DeviceId> masterKeyboard_;
};

}  // namespace platform::linux_desktop
