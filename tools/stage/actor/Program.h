// What an actor is and does. An actor is a process of its own, because that is what the guard knows an application by.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ActorWindow.h"
#include "Keymap.h"
#include "tools/stage/XConnection.h"

namespace stage {

// It reports on standard output, where a program that another one has started reports too; each line begins with the
// name of the one that speaks and a colon:
//   window <id>                          its main window is there (decimal)
//   focus in | focus out                 one of its windows got or lost the focus
//   press <key> <state> <keysym>         a key that it was given; release likewise
//   grabbed <status> | ungrabbed | done  a command was carried out
//
// A command has a name and an argument:
//   map, modest, unmap           a new window in place of the last one; likewise, but it wants no focus; away with it
//   open                         as map, with the user's time of what made it do so
//   show, hide, toggle           the main window; to show it is also to ask for the focus
//   request <source>, focus      asks for the focus of its main window, or takes it unasked
//   nudge <window>               asks for the activation of another's
//   insist <ms> [request|focus]  asks for the focus and takes it, or one of both, again and again; with 0 no more
//   minimise, destroy, exit      the last leaves no window at all, the one before no main window
//   grab, ungrab                 the keyboard; begins and ends a menu
//   click                        clicks its main window, as a program may that plays user
//   pass [window]                tells another program, by default that under the pointer, to do what is asked of it
//   start <program>              an actor, with its options; a '+' in one of them stands for a space
//   script <ms> <program>        likewise, but it is a child's child, which takes its time to start it and waits for it
//   detach <program>             likewise, and its parent does not stay
class Program {
 public:
  // A command for something that happens to the program, and how long it takes to act on it: "TRIGGER/MS/COMMAND" or
  // "TRIGGER/MS/COMMAND/ARGUMENT". Triggers: begin, key<code>, control<code> (with Control held), shortcut<code>
  // (anywhere on the desktop), press and release (the mouse), message (another program's pass).
  struct Reaction {
    std::string trigger;
    std::chrono::milliseconds delay{0};
    std::string command;
    std::string argument;
  };
  static Reaction reactionFrom(const std::string& text);

  struct Manner {
    std::string name;
    bool isHidden = false;
    std::chrono::milliseconds late{0};
    std::vector<Reaction> reactions;
  };

  Program(const XConnection& connection, const Looks& looks, Manner manner);

  void handle(const xcb_generic_event_t& event);
  void obey(const std::string& command, const std::string& argument);
  // Does what has become due; how long until the next, absent if nothing is to come.
  std::optional<std::chrono::milliseconds> doWhatIsDue();
  void report(const std::string& line) const;

 private:
  using Clock = std::chrono::steady_clock;
  struct Plan {
    Clock::time_point when;
    std::string command;
    std::string argument;
    std::uint32_t time;
  };

  void happens(const std::string& trigger, std::uint32_t time);
  void handleKey(const xcb_key_press_event_t& key, bool isPress);
  void appear();
  void openWindow(bool isModest, std::uint32_t userTime);
  void request(std::uint32_t source);
  void takeFocus() const;
  void insist();
  void click() const;
  void pass(const std::string& window) const;
  unsigned grab() const;
  std::uint32_t time();

  const XConnection& connection_;
  Keymap keymap_;
  Looks looks_;
  Manner manner_;
  // A second connection, so that asking for the time loses no event of the first.
  XConnection clock_;
  ActorWindow clockWindow_;
  ActorWindow main_;
  std::unique_ptr<ActorWindow> popup_;
  bool isShown_ = false;
  std::vector<Plan> plans_;
  // The server's time of what is being reacted to, 0 for a command that came in from elsewhere.
  std::uint32_t cause_ = 0;
  std::chrono::milliseconds insistence_{0};
  std::string insistsOn_;
};

}  // namespace stage
