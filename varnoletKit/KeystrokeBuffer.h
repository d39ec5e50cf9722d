// Holds keystrokes back while it is not clear, or is being put right, which application they belong to.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/CGEvent.h"
#include "platform/Tasks.h"
#include "varnoletKit/KeystrokeBufferDelegate.h"

namespace varnoletKit {

enum class BufferMode {
  passThrough,  // nothing is held
  speculative,  // held until somebody judges the change of frontmost application, 200 ms at most
  capturing,    // held for replay after a theft, `bufferTimeoutMs` at most
};

struct BufferedKeystroke {
  std::unique_ptr<platform::CGEvent> event;
  platform::CGEventType type = 0;
  platform::Date timestamp;
};

// In a holding mode every key event is swallowed and a copy of it kept, until the copies are posted (flush, replay) or
// dropped (cancelCapture). A mouse click while holding means that the user has taken charge: the copies are dropped,
// the click passes, the delegate is told.
//
// Any thread, except where stated. Held by std::shared_ptr: what it does later refers to it weakly.
class KeystrokeBuffer final : public std::enable_shared_from_this<KeystrokeBuffer> {
 public:
  // `bufferTimeoutMs` is zero or more. The delegate may be absent.
  KeystrokeBuffer(std::int64_t bufferTimeoutMs, std::weak_ptr<KeystrokeBufferDelegate> delegate);
  KeystrokeBuffer(const KeystrokeBuffer&) = delete;
  KeystrokeBuffer& operator=(const KeystrokeBuffer&) = delete;
  ~KeystrokeBuffer() = default;

  // Main thread.
  void setDelegate(std::weak_ptr<KeystrokeBufferDelegate> delegate);

  // Decides on one event of the tap: the event if it is to pass, null if it is to be swallowed.
  platform::CGEvent* handleEvent(platform::CGEventType type, platform::CGEvent& event);

  // Each enters its mode from any other, keeps what is held already, and starts its timeout afresh.
  void startSpeculativeCapture();
  void startCapturing();
  // Turns a speculative capture into one for replay. The capture timeout starts even if nothing was being held.
  void promoteToCapture();

  // Both post what is held, oldest first, to the application in front, let everything pass from then on, and return
  // how many events they posted. flush() leaves a capture timeout running, replay() a speculative one. Neither of these
  // does anything to what is held from a later start on.
  std::int64_t flush();
  std::int64_t replay();
  // Drops what is held and lets everything pass.
  void cancelCapture();

  BufferMode mode() const { return mode_; }
  std::int64_t count() const;

 private:
  using Keystrokes = std::vector<BufferedKeystroke>;
  // A timeout, running or not. It acts only while its generation is the latest, which it finds out under the lock.
  struct Timer {
    platform::ScheduledTask task;
    std::uint64_t generation = 0;
  };
  using Expiry = void (KeystrokeBuffer::*)(std::uint64_t generation);

  // Both with the lock held. What they return is let go of without it: cancelling the task waits for a timeout that
  // may just be about to take the lock.
  static Timer take(Timer& timer);
  void hold(BufferMode mode);
  Timer takeToRestart();
  Keystrokes takeEventsAndPassThrough();

  // Sets `timer` going, in place of the one taken out of it.
  void start(Timer& timer, Timer superseded, std::chrono::nanoseconds delay, Expiry expiry);
  void startCaptureTimer(Timer superseded);
  void speculativeTimerExpired(std::uint64_t generation);
  void captureTimerExpired(std::uint64_t generation);
  void notifyOnMainThread(void (KeystrokeBufferDelegate::*notification)());

  Keystrokes events_;
  // Guards the held events, the mode's changes, the holds and the two timers. Never held while posting, logging or
  // waiting.
  mutable std::mutex lock_;
  const std::int64_t bufferTimeoutMs_;
  Timer timeoutTask_;
  Timer speculativeTimeoutTask_;
  // Holds begun so far: each lasts until everything passes again. And how many there were when the capture timeout was
  // started.
  std::uint64_t holds_ = 0;
  std::uint64_t holdsAtTimeoutStart_ = 0;
  std::weak_ptr<KeystrokeBufferDelegate> delegate_;  // main thread
  std::atomic<BufferMode> mode_{BufferMode::passThrough};
};

}  // namespace varnoletKit
