// The keys that are on their way through the closed gate, in the order in which the fingers typed them.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

#include "platform/linux/keyboard/KeyStroke.h"

namespace platform::linux_desktop {

// A key that is held back blocks the ones behind it until it is posted or dropped, so that keys reach the application
// in typing order whatever the order in which, and the threads from which, they are released. Not thread-safe.
class KeyQueue {
 public:
  // A key's place in the typing order; never reused.
  using Ordinal = std::uint64_t;

  enum class State {
    held,    // a copy of it is kept by somebody who will post or drop it
    posted,  // the copy was posted: to be shown to the tap again, then emitted
    passed,  // the tap let it pass, but a key before it is still here
  };

  struct Entry {
    Ordinal ordinal = 0;
    KeyStroke stroke;
    State state = State::held;
    // The process that was in front when the key was passed.
    std::optional<pid_t> destination;
    std::chrono::steady_clock::time_point arrived{};  // from the finger
  };

  bool isEmpty() const { return entries_.empty(); }
  // The place of the next key to arrive.
  Ordinal takeOrdinal() { return ++lastOrdinal_; }
  // Ordinals must grow from call to call.
  void append(const Entry& entry) { entries_.push_back(entry); }

  // The first key if it may go now, else null: there is none, or it is held.
  const Entry* ready() const;
  void removeFirst() { entries_.pop_front(); }
  // The first key was shown to the tap again and is held once more.
  void holdFirstAgain() { entries_.front().state = State::held; }

  // Both ignore a key that is not held here (any more).
  void post(Ordinal ordinal);
  void drop(Ordinal ordinal);

  // True if an event of this key is still to come.
  bool contains(KeyCode key) const;

 private:
  std::deque<Entry>::iterator findHeld(Ordinal ordinal);

  std::deque<Entry> entries_;
  Ordinal lastOrdinal_ = 0;
};

}  // namespace platform::linux_desktop
