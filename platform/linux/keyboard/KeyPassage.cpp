#include "platform/linux/keyboard/KeyPassage.h"

#include <algorithm>

#include "platform/linux/keyboard/Gestures.h"
#include "platform/linux/x11/ServerGrab.h"

namespace platform::linux_desktop {
namespace {

// As long as a capture lasts by default: a key that waits longer comes too late to be of use.
constexpr std::chrono::milliseconds longestWaitForGrab{500};
// By which the rest of a chord may come later than it was typed.
constexpr KeyPassage::Clock::duration noticeable = std::chrono::milliseconds(2);
constexpr KeyPassage::Clock::duration longestDelay = std::chrono::milliseconds(300);

}  // namespace

void KeyPassage::close() {
  inbox_->close();
  queue_ = {};
}

bool KeyPassage::takePosted() {
  const auto messages = inbox_->takeAll();
  if (messages.empty()) return false;
  for (const auto& message : messages) {
    message.isPosted ? queue_.post(message.ordinal) : queue_.drop(message.ordinal);
  }
  advanceAndSettle();
  return true;
}

// What has waited for its time goes now.
bool KeyPassage::takeDue() {
  if (!nextGoes_ || Clock::now() < *nextGoes_) return false;
  advanceAndSettle();
  return true;
}

// What was typed before another program's grab goes when that ends, and is dropped if it does not.
bool KeyPassage::takeEndOfGrab() {
  if (!grabWaitEnds_) return false;
  if (session_.isGrabUninvited()) {
    if (Clock::now() < *grabWaitEnds_) return false;
    while (queue_.ready()) queue_.removeFirst();
    chordDelay_ = {};
  }
  grabWaitEnds_.reset();
  advanceAndSettle();
  return true;
}

// A shortcut waits until somebody has it. The rest of its chord then keeps its distance: window managers take the
// keyboard in between, and would miss what comes at once.
KeyPassage::Clock::time_point KeyPassage::timeToGo(const KeyQueue::Entry& entry) const {
  const auto inPace = entry.arrived + chordDelay_;
  return mayBeShortcut(entry.stroke) ? std::max(inPace, emitter_.settlesAt()) : inPace;
}

void KeyPassage::admit(const KeyStroke& stroke, Clock::time_point when) {
  const KeyQueue::Ordinal ordinal = queue_.takeOrdinal();
  const bool isFirst = queue_.isEmpty();
  const KeyQueue::Entry waiting{ordinal, stroke, KeyQueue::State::posted, std::nullopt, when};
  if (const auto due = timeToGo(waiting); isFirst && due > Clock::now()) {
    queue_.append(waiting);
    nextGoes_ = due;
    return;
  }
  TapEvent event(stroke, ordinal, inbox_);
  // One that has to wait its turn is not emitted now, so the focus may move: the server has others to serve.
  std::optional<ServerGrab> grab;
  if (isFirst) grab.emplace(connection_);
  const auto front = isFirst ? session_.frontForKey() : session_.frontmost();
  if (!session_.decide(stroke.type, event, front)) {
    session_.disturb();
    if (event.wasCopied()) queue_.append({ordinal, stroke, KeyQueue::State::held, std::nullopt, when});
  } else if (isFirst) {
    emitNow(stroke, when);
  } else {
    queue_.append({ordinal, stroke, KeyQueue::State::passed, front, when});
  }
}

// Lets the keys go that nothing holds back. Posted ones enter the tap like any other key. A passed one whose
// destination is no longer in front is judged anew: it must not reach whoever came in between.
void KeyPassage::advance() {
  nextGoes_.reset();
  while (const KeyQueue::Entry* first = queue_.ready()) {
    const KeyQueue::Entry entry = *first;
    if (const auto when = timeToGo(entry); when > Clock::now()) {
      nextGoes_ = when;
      return;
    }
    const ServerGrab grab(connection_);
    const auto front = session_.frontForKey();
    // With the answer has come all that was before it, a grab among it. Keys that came too are behind this one.
    session_.takeQueued();
    if (session_.isGrabUninvited()) {
      if (!grabWaitEnds_) grabWaitEnds_ = Clock::now() + longestWaitForGrab;
      return;
    }
    if (entry.state == KeyQueue::State::posted || front != entry.destination) {
      TapEvent event(entry.stroke, entry.ordinal, inbox_);
      if (!session_.decide(entry.stroke.type, event, front)) {
        session_.disturb();
        if (event.wasCopied()) {
          queue_.holdFirstAgain();
        } else {
          queue_.removeFirst();
        }
        continue;
      }
    }
    queue_.removeFirst();
    emitNow(entry.stroke, entry.arrived);
  }
}

void KeyPassage::emitNow(const KeyStroke& stroke, Clock::time_point when) {
  const auto late = Clock::now() - when;
  if (mayBeShortcut(stroke)) chordDelay_ = late < noticeable ? Clock::duration::zero() : std::min(late, longestDelay);
  emit(balance_.emit(stroke.key, stroke.isPress));
  const bool isPlain = stroke.type == kCGEventKeyDown && !mayBeShortcut(stroke);
  if (isPlain || balance_.emittedDown().none()) chordDelay_ = {};
}

void KeyPassage::settle() {
  emit(balance_.settle([this](KeyCode key) { return queue_.contains(key); }));
  emitter_.flush();
}

void KeyPassage::advanceAndSettle() {
  advance();
  settle();
}

}  // namespace platform::linux_desktop
