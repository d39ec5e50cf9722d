// Whose doing it was that an application came to the front.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/linux/intent/Activation.h"
#include "platform/linux/intent/Sightings.h"

namespace platform::linux_desktop {

// Why something counts as a command of the user.
enum class Command {
  shortcut,             // the press that began another program's grab of the keyboard
  confirmedInGrab,      // Enter or Space while a menu or a launcher grabs the keyboard
  leftSwitcher,         // a modifier went up under which a window switcher was used
  superAlone,           // Super was pressed and released by itself
  confirmedInLauncher,  // Enter in a launcher
  buttonReleased,
  startedByUser,   // the application comes from a deed of the user
  givenOn,         // the focus went on from a window or a workspace that was left
  chosen,          // of late in a switcher or a menu, or by a shortcut, and the window manager is slow
  pointerEntered,  // the pointer was moved into the window, and the focus follows it
};
// For the log; never says which key.
std::string_view describe(Command command);

// Decides from what was seen of keys, buttons, grabs, windows and the pointer. Pure: every time is an argument, no call
// asks anybody. Not thread-safe.
class UserIntent {
 public:
  enum class KeyKind : std::uint8_t {
    plain,
    enter,
    space,
    modifier,        // one that only writes
    switchModifier,  // one that window switchers are used with
    super,           // the same, and a command by itself
  };
  static bool isModifier(KeyKind kind) {
    return kind == KeyKind::modifier || kind == KeyKind::switchModifier || kind == KeyKind::super;
  }
  struct Key {
    KeyKind kind = KeyKind::plain;
    bool isPress = false;
    // It carries the Command flag already.
    bool isCommand = false;
    // Another modifier is down.
    bool isUnderModifier = false;
    // Another program grabs the keyboard.
    bool isGrabbed = false;
    // It goes to a launcher.
    bool isForLauncher = false;
  };

  // By our own clock, and by the server's: the stamp that programs know it by.
  struct Time {
    Moment own;
    std::uint32_t server = 0;
  };

  // What the user does. Each returns the command that it is beyond what its own event tells.
  std::optional<Command> keyMoved(const Key& key, Time time);
  std::optional<Command> buttonMoved(bool isPress, Time time);
  // A press has come to the applications, and another program's grab began.
  void pressArrived(std::uint32_t serverTime) { lastArrival_ = serverTime; }
  std::optional<Command> grabBegan(Time time);
  // The user moved the pointer into a window of the screen's uppermost level.
  void pointerEntered(WindowId topLevel, Moment when);

  // What windows do.
  void focusMoved(Moment when) { focusMoved_ = when; }
  void windowCreated(WindowId window, Moment when) { created_.note(window, when); }
  void windowAppeared(WindowId window, Moment when) { appeared_.note(window, when); }
  // It was closed, unmapped or minimised.
  void windowLeft(WindowId window, Moment when) { left_.note(window, when); }
  void workspaceChanged(Moment when) { workspaceChange_ = Chance{when, {}}; }
  // Somebody asks the window manager to activate `window`, naming a time if `stamp` is not 0.
  void activationRequested(WindowId window, std::uint32_t stamp, Moment when);

  // The command that brought the application to the front, if one did. What told where the focus should go has then
  // had its effect, and speaks for no other application.
  std::optional<Command> commandBehind(const Activation& activation, Moment now);

 private:
  struct Request {
    WindowId window = 0;
    std::uint32_t stamp = 0;
    Moment when;
  };
  // Something upon which a window manager moves the focus once, without having been asked by the window.
  struct Chance {
    Moment when;
    std::optional<Moment> taken;
    bool isOpen(Moment now) const;
  };
  // Something that the user did that may start an application.
  struct Deed {
    Time time;
    // Of the press that it ended.
    std::optional<std::uint32_t> pressed;
    // When the user went on with something else, if they did.
    std::optional<Moment> leftAt;
  };

  bool isLeft(const Deed& deed) const;
  bool isNewSince(const Activation& activation, Moment since) const;
  bool wasGivenOn(const Activation& activation, Moment now) const;
  bool wasChosen(const Activation& activation, Moment now) const;
  bool wasEntered(const Activation& activation, Moment now) const;
  bool wasStarted(const Activation& activation, Moment now) const;
  std::optional<Command> find(const Activation& activation, Moment now) const;
  void addDeed(const Deed& deed);
  void leaveDeeds(Moment when);

  std::deque<Deed> deeds_;
  std::optional<Moment> focusMoved_;
  bool hasKeyUnderModifier_ = false;
  std::uint32_t lastArrival_ = 0;
  // The last deed told the window manager which window to bring to the front.
  std::optional<Chance> choice_;
  std::optional<Chance> workspaceChange_;
  std::optional<Chance> entry_;
  WindowId entered_ = 0;
  Sightings created_;
  Sightings appeared_;
  Sightings left_;
  Sightings requested_;
  std::deque<Request> requests_;
};

}  // namespace platform::linux_desktop
