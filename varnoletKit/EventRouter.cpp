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
                         std::shared_ptr<KeystrokeBuffer> keystrokeBuffer)
    : gestureDetector_(std::move(gestureDetector)), keystrokeBuffer_(std::move(keystrokeBuffer)) {}

platform::CGEvent* EventRouter::handleTapEvent(platform::CGEventTapProxy, platform::CGEventType type,
                                               platform::CGEvent& event) {
  gestureLog.debug("🎯 EventRouter received event type=%u", type);
  gestureDetector_->recordEvent(type, platform::CGEventGetFlags(event), platform::CGEventGetLocation(event).y,
                                platform::dateNow());
  if (type == platform::kCGEventKeyDown || type == platform::kCGEventKeyUp) {
    captureIfFrontmostChanged();
  } else if (type != platform::kCGEventFlagsChanged) {
    expectReturnOf(0);
  }
  return keystrokeBuffer_->handleEvent(type, event);
}

void EventRouter::noteFrontmost(std::int32_t pid) {
  lastKnownFrontmostPID_.set(pid);
}

void EventRouter::acceptFrontmost(std::int32_t pid) {
  expectReturnOf(0);
  noteFrontmost(pid);
}

void EventRouter::captureIfFrontmostChanged() {
  const auto frontmost = platform::NSWorkspace::sharedWorkspace().frontmostApplication();
  if (!frontmost) return;
  const std::int32_t pid = frontmost->processIdentifier();
  const std::int32_t lastPID = lastKnownFrontmostPID_.exchange(pid);
  if (pid == lastPID) return;
  focusLog.info("⚡️ EventRouter detected PID change: %d → %d", lastPID, pid);
  // What is held for a judged theft stays so.
  if (pid == returningPID_ || keystrokeBuffer_->mode() == BufferMode::capturing) return;
  // The main thread may judge, or give up, at any moment: having started one kind of capture, look again.
  if (returningPID_ != 0) {
    keystrokeBuffer_->startCapturing();
    if (returningPID_ == 0) keystrokeBuffer_->startSpeculativeCapture();
    return;
  }
  keystrokeBuffer_->startSpeculativeCapture();
  focusLog.info("⏸️  EventRouter started speculative capture on PID change");
  if (returningPID_ != 0 && returningPID_ != pid) keystrokeBuffer_->promoteToCapture();
}

}  // namespace varnoletKit
