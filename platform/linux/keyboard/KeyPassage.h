// The way of a key through the closed gate: to a verdict, and from there to the application in front.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>

#include "platform/linux/keyboard/HeldKeys.h"
#include "platform/linux/keyboard/KeyBalance.h"
#include "platform/linux/keyboard/KeyEmitter.h"
#include "platform/linux/keyboard/KeyQueue.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Keys that are held by the tap's owner, or wait behind one that is, keep the order in which they were typed. On the
// tap's connection and thread.
class KeyPassage {
 public:
  using Clock = std::chrono::steady_clock;

  // What it needs of the session that it belongs to.
  class Session {
   public:
    // Shows an event to the tap's owner; true lets it pass. `front`: who would get it, if anybody.
    virtual bool decide(CGEventType type, TapEvent& event, std::optional<pid_t> front) = 0;
    // Who is in front, and who gets the next key: the second while the server is grabbed.
    virtual std::optional<pid_t> frontmost() = 0;
    virtual std::optional<pid_t> frontForKey() = 0;
    // Handles what came in with the last answer.
    virtual bool takeQueued() = 0;
    // Another program grabbed the keyboard of its own accord: what was typed before is not for it.
    virtual bool isGrabUninvited() const = 0;
    // A key is held: the gate is to stay closed.
    virtual void disturb() = 0;

   protected:
    ~Session() = default;
  };

  KeyPassage(XcbConnection& connection, KeyBalance& balance, KeyEmitter& emitter, Session& session)
      : connection_(connection), balance_(balance), emitter_(emitter), session_(session) {}

  // A finger moved at `when`, and the gate holds its keyboard.
  void admit(const KeyStroke& stroke, Clock::time_point when);
  // The rest of a chord is to keep its distance, also while another program grabs the keyboard.
  bool isPacing() const { return chordDelay_ > Clock::duration::zero(); }
  // What has become due; each is false if there was nothing.
  bool takePosted();
  bool takeDue();
  bool takeEndOfGrab();
  // When takeDue() has something to do, if it is known.
  std::optional<Clock::time_point> nextDue() const { return nextGoes_; }
  // Readable while takePosted() has something to do.
  int fileDescriptor() const { return inbox_->fileDescriptor(); }

  bool isEmpty() const { return queue_.isEmpty(); }
  // Nothing that is held goes out any more.
  void close();

  void emit(const std::vector<KeyBalance::Emission>& emissions) { emitter_.emit(emissions, balance_.emittedDown()); }
  // Lets go of what no finger and no key to come holds down, and sends all that was emitted.
  void settle();

 private:
  void advance();
  void advanceAndSettle();
  Clock::time_point timeToGo(const KeyQueue::Entry& entry) const;
  void emitNow(const KeyStroke& stroke, Clock::time_point when);

  XcbConnection& connection_;
  KeyBalance& balance_;
  KeyEmitter& emitter_;
  Session& session_;
  const std::shared_ptr<HeldKeyInbox> inbox_ = std::make_shared<HeldKeyInbox>();
  KeyQueue queue_;
  std::optional<Clock::time_point> grabWaitEnds_;  // if the first key waits for the end of another program's grab
  std::optional<Clock::time_point> nextGoes_;      // if it waits for its time
  Clock::duration chordDelay_{};                   // what is left of a chord comes so much later than it was typed
};

}  // namespace platform::linux_desktop
