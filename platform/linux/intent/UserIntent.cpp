#include "platform/linux/intent/UserIntent.h"

#include <algorithm>

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

// What starts within this time after a deed of the user, or names a time within it, comes from the deed...
constexpr auto consequence = 500ms;
// ...or so much before it: the kernel tells the start of a process to 10 ms, and the server rounds too.
constexpr auto inexactness = 15ms;
// So long an application may take to come up.
constexpr auto longestStart = 15s;
// So soon after a window is gone, or the pointer has entered one, a window manager gives the focus on. Some wait a
// moment on purpose before they let it follow the pointer.
constexpr auto longestHandover = 1s;
// A window that has been there for so long did not just put itself under the pointer.
constexpr auto settledAfter = 500ms;
// Requests come before what a window manager does about them.
constexpr auto requestAhead = 250ms;

constexpr std::size_t mostDeeds = 32;
constexpr std::size_t mostSightings = 256;

template <class T>
void append(std::deque<T>& list, const T& entry, std::size_t most) {
  list.push_back(entry);
  if (list.size() > most) list.pop_front();
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

std::optional<Command> UserIntent::keyMoved(const Key& key, Moment when) {
  std::optional<Command> command;
  if (isModifier(key.kind)) {
    if (key.isPress) {
      if (!key.isUnderModifier) hasKeyUnderModifier_ = false;
    } else if (key.kind == KeyKind::super && !hasKeyUnderModifier_) {
      command = Command::superAlone;
    } else if (key.kind != KeyKind::modifier && hasKeyUnderModifier_ && key.isGrabbed) {
      command = Command::leftSwitcher;
    }
  } else if (key.isPress) {
    hasKeyUnderModifier_ = true;
    const bool confirms = key.kind == KeyKind::enter || (key.kind == KeyKind::space && key.isGrabbed);
    if (confirms && key.isGrabbed) {
      command = Command::confirmedInGrab;
    } else if (confirms && key.isForLauncher) {
      command = Command::confirmedInLauncher;
    }
    // A command does not say that the user went on with something else; any other key does.
    if (!key.isCommand) leaveDeeds(when);
    if (key.isCommand || confirms) addDeed(when, command == Command::confirmedInGrab);
  }
  if (command && isModifier(key.kind)) addDeed(when, command == Command::leftSwitcher);
  return command;
}

std::optional<Command> UserIntent::buttonMoved(bool isPress, Moment when) {
  if (isPress) leaveDeeds(when);
  addDeed(when);
  if (isPress) return std::nullopt;
  return Command::buttonReleased;
}

std::optional<Command> UserIntent::grabBegan(std::uint32_t serverTime, Moment when) {
  // A grab that a key press activates bears the time of the press. One that a program asks for has its own.
  if (serverTime != lastArrival_) return std::nullopt;
  addDeed(when, true);
  return Command::shortcut;
}

void UserIntent::activationRequested(WindowId window, std::uint32_t stamp, Moment when) {
  append(requests_, {window, stamp, when}, mostSightings);
}

std::optional<Command> UserIntent::commandBehind(const Activation& activation, const ServerClock& clock,
                                                 Moment now) const {
  // The request that brings it back bears a time as well.
  if (activation.isBroughtBack) return std::nullopt;
  if (wasGivenOn(activation, now)) return Command::givenOn;
  if (wasChosen(activation, now)) return Command::chosen;
  if (wasEntered(activation, now)) return Command::pointerEntered;
  if (wasStarted(activation, clock, now)) return Command::startedByUser;
  return std::nullopt;
}

// The window manager had to find a new place for the focus, and chose a window that was there and asked for nothing.
bool UserIntent::wasGivenOn(const Activation& activation, Moment now) const {
  if (activation.isReturnUnderWay) return false;
  const Moment earliest = now - longestHandover;
  const auto went = std::find_if(left_.rbegin(), left_.rend(), [&](const Sighting& sighting) {
    const bool hadTheFocus =
        sighting.window == activation.previousWindow || sighting.window == activation.previousTopLevel;
    return hadTheFocus && sighting.when >= earliest;
  });
  if (went != left_.rend()) {
    return !isSince(created_, activation.window, went->when) && !isSince(appeared_, activation.window, went->when) &&
           !wasRequestedSince(activation.window, went->when - requestAhead);
  }
  // The windows of a workspace may well appear as it is shown.
  return workspaceChanged_ && *workspaceChanged_ >= earliest &&
         !isSince(created_, activation.window, *workspaceChanged_ - requestAhead) &&
         !wasRequestedSince(activation.window, *workspaceChanged_ - requestAhead);
}

// On a busy desktop a window manager moves the focus long after the key by which the user told it to: then too the
// window was there, and asked for nothing.
bool UserIntent::wasChosen(const Activation& activation, Moment now) const {
  if (activation.isReturnUnderWay || deeds_.empty()) return false;
  const Deed& deed = deeds_.back();
  return deed.isChoice && !isLeft(deed) && now - deed.when <= longestHandover &&
         !isSince(created_, activation.window, deed.when) && !isSince(appeared_, activation.window, deed.when) &&
         !wasRequestedSince(activation.window, deed.when - requestAhead);
}

bool UserIntent::wasEntered(const Activation& activation, Moment now) const {
  const WindowId topLevel = activation.topLevel;
  if (!lastEntry_ || lastEntry_->topLevel != topLevel || topLevel == 0) return false;
  if (now - lastEntry_->when > longestHandover) return false;
  const Moment settled = lastEntry_->when - settledAfter;
  return !isSince(created_, activation.window, settled) && !isSince(appeared_, topLevel, settled) &&
         !isSince(appeared_, activation.window, settled) && !wasRequestedSince(activation.window, lastEntry_->when);
}

// What the user types once the application is up does not say that they had not waited for it.
bool UserIntent::isLeft(const Deed& deed) const {
  return deed.leftAt && !(focusMoved_ && *deed.leftAt >= *focusMoved_);
}

bool UserIntent::wasStarted(const Activation& activation, const ServerClock& clock, Moment now) const {
  const auto follows = [&](const Deed& deed, Moment origin) {
    return !isLeft(deed) && now - deed.when <= longestStart && origin >= deed.when - inexactness &&
           origin <= deed.when + consequence;
  };
  for (const Moment start : activation.starts) {
    if (std::any_of(deeds_.begin(), deeds_.end(), [&](const Deed& deed) { return follows(deed, start); })) return true;
  }
  // Any program can name any time. So only what the user did last counts: the time of what was done in a window before
  // the user left it is no reason to fetch it.
  if (deeds_.empty()) return false;
  const auto fits = [&](std::uint32_t stamp) {
    const auto origin = stamp == 0 ? std::nullopt : clock.timeOf(stamp);
    return origin && follows(deeds_.back(), *origin);
  };
  return std::any_of(activation.stamps.begin(), activation.stamps.end(), fits) ||
         std::any_of(requests_.begin(), requests_.end(), [&](const Request& request) {
           return request.window == activation.window && now - request.when <= longestHandover && fits(request.stamp);
         });
}

void UserIntent::addDeed(Moment when, bool isChoice) {
  append(deeds_, {when, std::nullopt, isChoice}, mostDeeds);
}

void UserIntent::leaveDeeds(Moment when) {
  for (auto& deed : deeds_) {
    if (!deed.leftAt) deed.leftAt = when;
  }
}

void UserIntent::note(Sightings& sightings, WindowId window, Moment when) {
  append(sightings, {window, when}, mostSightings);
}

bool UserIntent::isSince(const Sightings& sightings, WindowId window, Moment since) {
  return std::any_of(sightings.begin(), sightings.end(),
                     [&](const Sighting& sighting) { return sighting.window == window && sighting.when >= since; });
}

bool UserIntent::wasRequestedSince(WindowId window, Moment since) const {
  return std::any_of(requests_.begin(), requests_.end(),
                     [&](const Request& request) { return request.window == window && request.when >= since; });
}

}  // namespace platform::linux_desktop
