#include "varnoletKit/EventRouter.h"

#include <utility>

#include "platform/Log.h"
#include "platform/NSWorkspace.h"

namespace varnoletKit {
namespace {

constexpr platform::Logger focusLog(platform::LogCategory::focus);
constexpr platform::Logger gestureLog(platform::LogCategory::gesture);

}  // namespace

EventRouter::EventRouter(std::shared_ptr<GestureDetector> gestureDetector,
                         std::shared_ptr<KeystrokeBuffer> keystrokeBuffer,
                         std::shared_ptr<ExpectedReturn> expectedReturn)
    : gestureDetector_(std::move(gestureDetector)),
      keystrokeBuffer_(std::move(keystrokeBuffer)),
      expectedReturn_(std::move(expectedReturn)) {}

platform::CGEvent* EventRouter::handleTapEvent(platform::CGEventTapProxy, platform::CGEventType type,
                                               platform::CGEvent& event) {
  gestureLog.debug("🎯 EventRouter received event type=%u", type);
  gestureDetector_->recordEvent(type, platform::CGEventGetFlags(event), platform::CGEventGetLocation(event).y,
                                platform::dateNow());
  if (type == platform::kCGEventKeyDown || type == platform::kCGEventKeyUp) {
    captureIfFrontmostChanged();
  } else if (type != platform::kCGEventFlagsChanged) {
    expectedReturn_->end();
  }
  return keystrokeBuffer_->handleEvent(type, event);
}

void EventRouter::setLastKnownFrontmostPID(std::int32_t pid) {
  lastKnownFrontmostPID_.set(pid);
}

void EventRouter::captureIfFrontmostChanged() {
  const auto frontmost = platform::NSWorkspace::sharedWorkspace().frontmostApplication();
  if (!frontmost) return;
  const std::int32_t pid = frontmost->processIdentifier();
  const std::int32_t lastPID = lastKnownFrontmostPID_.exchange(pid);
  if (pid == lastPID) return;
  focusLog.info("⚡️ EventRouter detected PID change: %d → %d", lastPID, pid);
  // What is held for a judged theft stays so.
  if (pid == expectedReturn_->pid() || keystrokeBuffer_->mode() == BufferMode::capturing) return;
  keystrokeBuffer_->startSpeculativeCapture();
  focusLog.info("⏸️  EventRouter started speculative capture on PID change");
  // The main thread may judge a theft, or give one up, at any moment. It deals with a capture that it finds; so look
  // now that there is one, and once more after the promotion, which it may just have missed.
  const auto isForAnother = [this, pid] {
    const std::int32_t expected = expectedReturn_->pid();
    return expected != 0 && expected != pid;
  };
  if (!isForAnother()) return;
  keystrokeBuffer_->promoteToCapture();
  if (!isForAnother()) keystrokeBuffer_->startSpeculativeCapture();
}

}  // namespace varnoletKit
