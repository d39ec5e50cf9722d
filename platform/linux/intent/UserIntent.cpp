#include "platform/linux/intent/UserIntent.h"

#include <algorithm>
#include <cstdlib>

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

// What starts within this time after a deed of the user comes from the deed, however soon the user lets the next thing
// count as their own...
constexpr auto consequence = 500ms;
// ...or so much before it: the kernel tells the start of a process to 10 ms, and the server rounds too.
constexpr auto inexactness = 15ms;
// So long an application may take to come up.
constexpr auto longestStart = 15s;
// So soon after a window is gone, or the pointer has entered one, a window manager gives the focus on. Some wait a
// moment on purpose before they let it follow the pointer.
constexpr auto longestHandover = 1s;
// A window manager that has begun to move the focus may do it in more than one step.
constexpr auto sameMove = 100ms;
// A window that has been there for so long did not just put itself under the pointer.
constexpr auto settledAfter = 500ms;
// Requests, and windows that come up, are ahead of what a window manager does about them.
constexpr auto requestAhead = 250ms;

constexpr std::size_t mostDeeds = 32;
constexpr std::size_t mostRequests = 256;

template <class T>
void append(std::deque<T>& list, const T& entry, std::size_t most) {
  list.push_back(entry);
  if (list.size() > most) list.pop_front();
}

bool isNear(std::uint32_t stamp, std::uint32_t other) {
  return std::chrono::milliseconds(std::abs(static_cast<std::int32_t>(stamp - other))) <= inexactness;
}

}  // namespace

std::string_view describe(Command command) {
  switch (command) {
    case Command::shortcut:
      return "the user pressed a shortcut";
    case Command::confirmedInGrab:
      return "the user confirmed in a menu";
    case Command::leftSwitcher:
      return "the user let go of a window switcher";
    case Command::superAlone:
      return "the user pressed Super";
    case Command::confirmedInLauncher:
      return "the user confirmed in a launcher";
    case Command::buttonReleased:
      return "the user let go of a mouse button";
    case Command::startedByUser:
      return "the user started it";
    case Command::givenOn:
      return "the focus was given on";
    case Command::chosen:
      return "the user chose it";
    case Command::pointerEntered:
      return "the user moved the pointer into it";
  }
  return "";
}

bool UserIntent::Chance::isOpen(Moment now) const {
  return now - when <= longestHandover && (!taken || now - *taken <= sameMove);
}

std::optional<Command> UserIntent::keyMoved(const Key& key, Time time) {
  std::optional<Command> command;
  bool isDeed = false;
  if (isModifier(key.kind)) {
    if (key.isPress) {
      if (!key.isUnderModifier) hasKeyUnderModifier_ = false;
    } else if (key.kind == KeyKind::super && !hasKeyUnderModifier_) {
      command = Command::superAlone;
    } else if (key.kind != KeyKind::modifier && hasKeyUnderModifier_ && key.isGrabbed) {
      command = Command::leftSwitcher;
    }
    isDeed = command.has_value();
  } else if (key.isPress) {
    hasKeyUnderModifier_ = true;
    const bool confirms = key.kind == KeyKind::enter || (key.kind == KeyKind::space && key.isGrabbed);
    if (confirms && key.isGrabbed) {
      command = Command::confirmedInGrab;
    } else if (confirms && key.isForLauncher) {
      command = Command::confirmedInLauncher;
    }
    isDeed = key.isCommand || confirms;
    // A command does not say that the user went on with something else; any other key does.
    if (!key.isCommand) leaveDeeds(time.own);
  }
  if (isDeed) addDeed({time, std::nullopt, std::nullopt});
  if (command == Command::confirmedInGrab || command == Command::leftSwitcher) choice_ = Chance{time.own, {}};
  return command;
}

std::optional<Command> UserIntent::buttonMoved(bool isPress, Time time) {
  if (isPress) leaveDeeds(time.own);
  // Programs know a click by its press.
  const auto pressed = isPress || deeds_.empty() ? std::nullopt : std::optional(deeds_.back().time.server);
  addDeed({time, pressed, std::nullopt});
  if (isPress) return std::nullopt;
  return Command::buttonReleased;
}

std::optional<Command> UserIntent::grabBegan(Time time) {
  // A grab that a key press activates bears the time of the press. One that a program asks for has its own.
  if (time.server != lastArrival_) return std::nullopt;
  addDeed({time, std::nullopt, std::nullopt});
  choice_ = Chance{time.own, {}};
  return Command::shortcut;
}

void UserIntent::pointerEntered(WindowId topLevel, Moment when) {
  entered_ = topLevel;
  entry_ = Chance{when, {}};
}

void UserIntent::activationRequested(WindowId window, std::uint32_t stamp, Moment when) {
  requested_.note(window, when);
  if (stamp != 0) append(requests_, {window, stamp, when}, mostRequests);
}

std::optional<Command> UserIntent::commandBehind(const Activation& activation, Moment now) {
  const auto command = find(activation, now);
  if (!command) return std::nullopt;
  for (auto* chance : {&choice_, &workspaceChange_, &entry_}) {
    if (*chance && !(*chance)->taken) (*chance)->taken = now;
  }
  return command;
}

std::optional<Command> UserIntent::find(const Activation& activation, Moment now) const {
  // The request that brings it back bears a time as well.
  if (activation.isBroughtBack) return std::nullopt;
  if (wasGivenOn(activation, now)) return Command::givenOn;
  if (wasChosen(activation, now)) return Command::chosen;
  if (wasEntered(activation, now)) return Command::pointerEntered;
  if (wasStarted(activation, now)) return Command::startedByUser;
  return std::nullopt;
}

// The window manager had to find a new place for the focus, and chose a window that was there and asked for nothing.
bool UserIntent::wasGivenOn(const Activation& activation, Moment now) const {
  if (activation.isReturnUnderWay) return false;
  // The windows of a workspace may well appear as it is shown.
  const auto wasThere = [&](Moment since) {
    return !created_.mayBeSince(activation.window, since) && !requested_.mayBeSince(activation.window, since);
  };
  for (const WindowId window : {activation.previousWindow, activation.previousTopLevel}) {
    const auto went = left_.lastOf(window);
    if (window == 0 || !went || now - *went > longestHandover) continue;
    const Moment before = *went - requestAhead;
    if (!isNewSince(activation, before)) return true;
    // Some window managers move the focus before they say that they have changed the workspace.
    if (activation.isElsewhere && wasThere(before)) return true;
  }
  return workspaceChange_ && workspaceChange_->isOpen(now) && wasThere(workspaceChange_->when - requestAhead);
}

// On a busy desktop a window manager moves the focus long after the key by which the user told it to: then too the
// window was there, and asked for nothing.
bool UserIntent::wasChosen(const Activation& activation, Moment now) const {
  if (activation.isReturnUnderWay || !choice_ || !choice_->isOpen(now)) return false;
  return !deeds_.empty() && !isLeft(deeds_.back()) && !created_.mayBeSince(activation.window, choice_->when) &&
         !appeared_.mayBeSince(activation.window, choice_->when) &&
         !requested_.mayBeSince(activation.window, choice_->when - requestAhead);
}

bool UserIntent::wasEntered(const Activation& activation, Moment now) const {
  if (!entry_ || !entry_->isOpen(now) || entered_ != activation.topLevel || entered_ == 0) return false;
  const Moment settled = entry_->when - settledAfter;
  return !created_.mayBeSince(activation.window, settled) && !appeared_.mayBeSince(activation.window, settled) &&
         !appeared_.mayBeSince(entered_, settled) && !requested_.mayBeSince(activation.window, entry_->when);
}

// It came up, or asked.
bool UserIntent::isNewSince(const Activation& activation, Moment since) const {
  return created_.mayBeSince(activation.window, since) || appeared_.mayBeSince(activation.window, since) ||
         appeared_.mayBeSince(activation.topLevel, since) || requested_.mayBeSince(activation.window, since);
}

// What the user types once the application is up does not say that they had not waited for it.
bool UserIntent::isLeft(const Deed& deed) const {
  return deed.leftAt && !(focusMoved_ && *deed.leftAt >= *focusMoved_);
}

bool UserIntent::wasStarted(const Activation& activation, Moment now) const {
  const auto lasts = [&](const Deed& deed) { return !isLeft(deed) && now - deed.time.own <= longestStart; };
  for (const Moment start : activation.starts) {
    const auto follows = [&](const Deed& deed) {
      return lasts(deed) && start >= deed.time.own - inexactness && start <= deed.time.own + consequence;
    };
    if (std::any_of(deeds_.begin(), deeds_.end(), follows)) return true;
  }
  // Any program can name any time. So only what the user did last counts: the time of what was done in a window before
  // the user left it is no reason to fetch it.
  if (deeds_.empty() || !lasts(deeds_.back())) return false;
  const auto fits = [&](std::uint32_t stamp) {
    const Deed& deed = deeds_.back();
    return stamp != 0 && (isNear(stamp, deed.time.server) || (deed.pressed && isNear(stamp, *deed.pressed)));
  };
  return std::any_of(activation.stamps.begin(), activation.stamps.end(), fits) ||
         std::any_of(requests_.begin(), requests_.end(), [&](const Request& request) {
           return request.window == activation.window && now - request.when <= longestHandover && fits(request.stamp);
         });
}

void UserIntent::addDeed(const Deed& deed) {
  append(deeds_, deed, mostDeeds);
  choice_.reset();
}

void UserIntent::leaveDeeds(Moment when) {
  for (auto& deed : deeds_) {
    if (!deed.leftAt) deed.leftAt = when;
  }
}

}  // namespace platform::linux_desktop
