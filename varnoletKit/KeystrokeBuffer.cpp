#include "varnoletKit/KeystrokeBuffer.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "platform/Log.h"

namespace varnoletKit {
namespace {

using namespace std::chrono_literals;

constexpr platform::Logger bufferLog(platform::LogCategory::buffer);

constexpr auto speculativeTimeout = 200ms;

std::int64_t sizeOf(const std::vector<BufferedKeystroke>& keystrokes) {
  return static_cast<std::int64_t>(keystrokes.size());
}

void post(std::vector<BufferedKeystroke> keystrokes) {
  for (auto& keystroke : keystrokes) {
    platform::CGEventPost(platform::CGEventTapLocation::hid, std::move(keystroke.event));
  }
}

std::int64_t flushToFrontmost(std::vector<BufferedKeystroke> keystrokes) {
  const std::int64_t count = sizeOf(keystrokes);
  if (count == 0) {
    bufferLog.debug("Keystroke buffer: nothing to flush");
    return 0;
  }
  bufferLog.info("Flushing %ld speculatively buffered keystroke(s) to frontmost app", count);
  post(std::move(keystrokes));
  bufferLog.info("Flushed %ld keystroke events to frontmost app", count);
  return count;
}

}  // namespace

KeystrokeBuffer::KeystrokeBuffer(std::int64_t bufferTimeoutMs, std::weak_ptr<KeystrokeBufferDelegate> delegate)
    : bufferTimeoutMs_(bufferTimeoutMs), delegate_(std::move(delegate)) {}

void KeystrokeBuffer::setDelegate(std::weak_ptr<KeystrokeBufferDelegate> delegate) {
  assert(platform::isMainThread());
  delegate_ = std::move(delegate);
}

platform::CGEvent* KeystrokeBuffer::handleEvent(platform::CGEventType type, platform::CGEvent& event) {
  std::unique_lock lock(lock_);
  if (mode_ == BufferMode::passThrough) return &event;
  switch (type) {
    case platform::kCGEventKeyDown:
    case platform::kCGEventKeyUp:
    case platform::kCGEventFlagsChanged: {
      if (auto copy = platform::CGEventCreateCopy(event)) {
        events_.push_back({std::move(copy), type, platform::dateNow()});
      }
      const std::int64_t held = sizeOf(events_);
      lock.unlock();
      bufferLog.debug("Buffered %u event (count: %ld)", type, held);
      return nullptr;
    }
    case platform::kCGEventLeftMouseDown:
    case platform::kCGEventRightMouseDown:
    case platform::kCGEventOtherMouseDown:
      lock.unlock();
      bufferLog.info("Mouse click during intercept — cancelling re-activation");
      cancelCapture();
      notifyOnMainThread(&KeystrokeBufferDelegate::keystrokeBufferDidCancelViaMouseClick);
      return &event;
    default:
      return &event;
  }
}

void KeystrokeBuffer::startSpeculativeCapture() {
  Timer superseded;
  {
    const std::lock_guard lock(lock_);
    hold(BufferMode::speculative);
    superseded = take(speculativeTimeoutTask_);
  }
  start(speculativeTimeoutTask_, std::move(superseded), speculativeTimeout, &KeystrokeBuffer::speculativeTimerExpired);
  bufferLog.info("Keystroke buffer: speculative capture started (awaiting classification)");
}

void KeystrokeBuffer::startCapturing() {
  Timer superseded;
  {
    const std::lock_guard lock(lock_);
    hold(BufferMode::capturing);
    superseded = takeToRestart();
  }
  startCaptureTimer(std::move(superseded));
  bufferLog.debug("Keystroke buffer: capturing started");
}

void KeystrokeBuffer::promoteToCapture() {
  Timer speculative;
  Timer superseded;
  {
    const std::lock_guard lock(lock_);
    if (mode_ == BufferMode::speculative) mode_ = BufferMode::capturing;
    speculative = take(speculativeTimeoutTask_);
    superseded = takeToRestart();
  }
  startCaptureTimer(std::move(superseded));
  bufferLog.info("Keystroke buffer: promoted from speculative to capturing");
}

std::int64_t KeystrokeBuffer::flush() {
  Timer speculative;
  Keystrokes keystrokes;
  {
    const std::lock_guard lock(lock_);
    keystrokes = takeEventsAndPassThrough();
    speculative = take(speculativeTimeoutTask_);
  }
  return flushToFrontmost(std::move(keystrokes));
}

std::int64_t KeystrokeBuffer::replay() {
  Timer capture;
  Keystrokes keystrokes;
  {
    const std::lock_guard lock(lock_);
    capture = take(timeoutTask_);
    keystrokes = takeEventsAndPassThrough();
  }
  const std::int64_t count = sizeOf(keystrokes);
  if (count == 0) {
    bufferLog.debug("Keystroke buffer: nothing to replay");
    return 0;
  }
  post(std::move(keystrokes));
  bufferLog.info("Replayed %ld keystroke events", count);
  return count;
}

void KeystrokeBuffer::cancelCapture() {
  Timer capture;
  Timer speculative;
  Keystrokes dropped;
  {
    const std::lock_guard lock(lock_);
    dropped = takeEventsAndPassThrough();
    capture = take(timeoutTask_);
    speculative = take(speculativeTimeoutTask_);
  }
  bufferLog.debug("Keystroke buffer: capture cancelled, buffer cleared");
}

std::int64_t KeystrokeBuffer::count() const {
  const std::lock_guard lock(lock_);
  return sizeOf(events_);
}

KeystrokeBuffer::Timer KeystrokeBuffer::take(Timer& timer) {
  ++timer.generation;
  return std::exchange(timer, Timer{{}, timer.generation});
}

void KeystrokeBuffer::hold(BufferMode mode) {
  if (mode_ == BufferMode::passThrough) ++holds_;
  mode_ = mode;
}

KeystrokeBuffer::Timer KeystrokeBuffer::takeToRestart() {
  holdsAtTimeoutStart_ = holds_;
  return take(timeoutTask_);
}

KeystrokeBuffer::Keystrokes KeystrokeBuffer::takeEventsAndPassThrough() {
  mode_ = BufferMode::passThrough;
  return std::exchange(events_, {});
}

void KeystrokeBuffer::start(Timer& timer, Timer superseded, std::chrono::nanoseconds delay, Expiry expiry) {
  superseded.task.cancel();
  Timer started{platform::runInBackgroundAfter(delay,
                                               [weak = weak_from_this(), generation = superseded.generation, expiry] {
                                                 if (const auto self = weak.lock()) (self.get()->*expiry)(generation);
                                               }),
                superseded.generation};
  // One that was taken again meanwhile, or has expired already, leaves with `started`.
  const std::lock_guard lock(lock_);
  if (timer.generation == started.generation) std::swap(timer, started);
}

void KeystrokeBuffer::startCaptureTimer(Timer superseded) {
  // A settings file may hold any number; a day keeps the nanoseconds representable.
  const auto timeout = std::clamp<std::chrono::milliseconds>(std::chrono::milliseconds(bufferTimeoutMs_), 0ms, 24h);
  start(timeoutTask_, std::move(superseded), timeout, &KeystrokeBuffer::captureTimerExpired);
}

// The look at the mode and the emptying are one step: a promotion or a replay that comes between would otherwise be
// undone, and the keys would go to the thief.
void KeystrokeBuffer::speculativeTimerExpired(std::uint64_t generation) {
  Timer expired;
  Keystrokes keystrokes;
  {
    const std::lock_guard lock(lock_);
    if (speculativeTimeoutTask_.generation != generation || mode_ != BufferMode::speculative) return;
    keystrokes = takeEventsAndPassThrough();
    expired = take(speculativeTimeoutTask_);
  }
  bufferLog.info("Speculative capture safety timeout (200ms) — flushing to frontmost app");
  flushToFrontmost(std::move(keystrokes));
  notifyOnMainThread(&KeystrokeBufferDelegate::keystrokeBufferDidTimeout);
}

void KeystrokeBuffer::captureTimerExpired(std::uint64_t generation) {
  Timer expired;
  Timer speculative;
  Keystrokes dropped;
  {
    const std::lock_guard lock(lock_);
    if (timeoutTask_.generation != generation) return;
    // Left behind by a flush: what is held now is not what it was to end.
    if (mode_ != BufferMode::passThrough && holds_ != holdsAtTimeoutStart_) return;
    dropped = takeEventsAndPassThrough();
    expired = take(timeoutTask_);
    speculative = take(speculativeTimeoutTask_);
  }
  bufferLog.info("Keystroke buffer timeout (%ldms) — releasing without replay", bufferTimeoutMs_);
  bufferLog.debug("Keystroke buffer: capture cancelled, buffer cleared");
  notifyOnMainThread(&KeystrokeBufferDelegate::keystrokeBufferDidTimeout);
}

void KeystrokeBuffer::notifyOnMainThread(void (KeystrokeBufferDelegate::*notification)()) {
  platform::runOnMainThread([weak = weak_from_this(), notification] {
    const auto self = weak.lock();
    if (!self) return;
    if (const auto delegate = self->delegate_.lock()) (delegate.get()->*notification)();
  });
}

}  // namespace varnoletKit
