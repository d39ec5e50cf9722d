// The event tap's work on one connection to the X server, from its opening to its loss.
#pragma once

#include <poll.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/keyboard/ActivationDesk.h"
#include "platform/linux/keyboard/FocusWatch.h"
#include "platform/linux/keyboard/GateTiming.h"
#include "platform/linux/keyboard/IntentWatch.h"
#include "platform/linux/keyboard/KeyBalance.h"
#include "platform/linux/keyboard/KeyEmitter.h"
#include "platform/linux/keyboard/KeyPassage.h"
#include "platform/linux/keyboard/KeyRoles.h"
#include "platform/linux/keyboard/KeyboardGate.h"
#include "platform/linux/keyboard/KeymapKeeper.h"
#include "platform/linux/watchdog/WatchdogLink.h"
#include "platform/linux/x11/InputDevices.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Watches keys and buttons while the gate is open. When the focus may move it closes the gate; every key then waits for
// the verdict, and what passes is typed again through XTEST. Destroying it frees the keyboards and leaves no key down.
// Used by one thread at a time.
class TapSession final : private KeyPassage::Session {
 public:
  using Clock = std::chrono::steady_clock;
  // Shows an event to the tap's owner; true lets it pass.
  using Decide = std::function<bool(CGEventType, TapEvent&)>;

  // Null where the server, or what it offers, does not allow a tap.
  static std::unique_ptr<TapSession> open(Decide decide, std::shared_ptr<WatchdogLink> watchdog,
                                          std::shared_ptr<ActivationDesk> desk);
  TapSession(const TapSession&) = delete;
  TapSession& operator=(const TapSession&) = delete;
  ~TapSession();

  bool isLost() const { return connection_->isLost(); }
  // What to wait for until perform() has something to do again, and until when.
  void addPollDescriptors(std::vector<pollfd>& descriptors) const;
  std::optional<Clock::time_point> deadline() const;
  // Handles what has come in, one event at a time; false if there was nothing.
  bool perform();

 private:
  TapSession(std::unique_ptr<XcbConnection> connection, Decide decide, std::shared_ptr<WatchdogLink> watchdog,
             std::shared_ptr<ActivationDesk> desk);

  void begin();
  void refreshDevices();
  void forget(DeviceId keyboard);
  bool handleActivations();
  void take(const xcb_generic_event_t& event);
  void handleInput(const xcb_ge_generic_event_t& event);
  void handleHierarchy(const xcb_input_hierarchy_event_t& event);
  void handleRawKey(const xcb_input_raw_key_press_event_t& event);
  void typeOn(DeviceId keyboard);
  void handleKey(DeviceId keyboard, KeyCode key, bool isPress, Clock::time_point when);
  void handleButton(const xcb_input_raw_button_press_event_t& event);
  UserIntent::Key intentOf(KeyCode key, bool isPress);
  // Tells the tap's owner of a command that no event of its own tells.
  void tell(std::optional<Command> command);
  void noteFocus(FocusWatch::Sign sign);

  bool decide(CGEventType type, TapEvent& event, std::optional<pid_t> front) override;
  void decideDelivered(const KeyStroke& stroke);
  std::optional<pid_t> frontmost() override { return focus_.frontmostProcess(); }
  std::optional<pid_t> frontForKey() override;
  std::optional<pid_t> knownFront();
  bool isGrabUninvited() const override { return isGrabbedElsewhere_ && !isGrabInvited_; }

  void disturb() override;
  bool wasDisturbedLately() const;
  bool openIfQuiet();
  bool recheckFingers();
  bool takeQueued() override;
  void openGate();

  std::unique_ptr<XcbConnection> connection_;
  Decide decide_;
  std::shared_ptr<WatchdogLink> watchdog_;
  std::shared_ptr<ActivationDesk> desk_;
  InputDevices devices_;
  FocusWatch focus_;
  IntentWatch intent_;
  KeyboardGate gate_;
  KeymapKeeper keymaps_;
  KeyRoles roles_;
  KeyBalance balance_;
  KeyEmitter emitter_;
  KeyPassage passage_;
  GateTiming timing_;

  std::uint8_t xinputOpcode_ = 0;
  bool isDeskOpen_ = false;
  // Valid while the gate is open: nothing has moved the focus since it was asked for.
  std::optional<std::optional<pid_t>> front_;
  bool isGrabbedElsewhere_ = false;
  Clock::time_point grabEnded_;
  bool isGrabInvited_ = false;  // a key that was typed began the grab: what follows it is meant for that program
  DeviceId typist_ = 0;         // the keyboard that was typed on last
  CGPoint pointer_;             // where a mouse came into a window last
};

}  // namespace platform::linux_desktop
