// Keeps the keyboards' keymaps in step with the one that we type on.
#pragma once

#include <optional>
#include <set>
#include <vector>

#include "platform/linux/keyboard/KeyStroke.h"
#include "platform/linux/keyboard/KeymapMirror.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// What is typed through XTEST means what XTEST's own keymap says, which therefore has to equal the keymap of the
// keyboard under the fingers, ahead of time. The other way round, a layout or a repeat rate that the user changes while
// the keyboards float reaches XTEST's keyboard only, and has to be brought to them before they come back. On the tap's
// connection and thread.
class KeymapKeeper {
 public:
  explicit KeymapKeeper(XcbConnection& connection) : connection_(connection) {}

  void begin();
  void setDevices(const std::vector<DeviceId>& keyboards, std::optional<DeviceId> xtest,
                  std::optional<DeviceId> master);
  // The keyboard is gone; another one may have its number.
  void forget(DeviceId keyboard);
  // The user types on this keyboard now.
  void keyboardTypes(DeviceId keyboard);

  bool isKeymapEvent(const xcb_generic_event_t& event) const;
  // True if the keymap of the keyboard that is typed on has changed.
  bool handle(const xcb_generic_event_t& event, bool isGateClosed);

  // To be called between events: finds out when our own copies are made, for what comes later is the user's doing.
  void noteEndOfCopies();

  // To be asked when the gate could open: brings the floating keyboards what changed meanwhile. False until that is
  // done; to be asked again later.
  bool isReadyToOpen();
  // Caps Lock and the like, and the layout chosen, as the applications see them.
  void copyLocksTo(DeviceId keyboard);

 private:
  void copyToXtest();
  // True for an event of XTEST's keyboard that one of our own copies may have caused.
  bool mayBeOurs(const xcb_generic_event_t& event) const;

  XcbConnection& connection_;
  KeymapMirror mirror_;
  std::uint8_t firstEvent_ = 0;
  std::vector<DeviceId> keyboards_;
  std::optional<DeviceId> xtest_;
  std::optional<DeviceId> master_;
  DeviceId typist_ = 0;
  std::set<DeviceId> watched_;
  bool hasCopiedToXtest_ = false;
  std::optional<std::uint32_t> endOfCopies_;  // a request that was sent after they were made; absent until they are
  // The user changed the applications' keymap while the keyboards were away.
  bool hasChangedWhileClosed_ = false;
};

}  // namespace platform::linux_desktop
