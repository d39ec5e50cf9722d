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
  if (type == platform::kCGEventKeyDown || type == platform::kCGEventKeyUp) captureIfFrontmostChanged();
  return keystrokeBuffer_->handleEvent(type, event);
}

void EventRouter::noteFrontmost(std::int32_t pid) {
  lastKnownFrontmostPID_.set(pid);
}

void EventRouter::expectReturnOf(std::int32_t pid) {
  returningPID_ = pid;
}

void EventRouter::captureIfFrontmostChanged() {
  const auto frontmost = platform::NSWorkspace::sharedWorkspace().frontmostApplication();
  if (!frontmost) return;
  const std::int32_t pid = frontmost->processIdentifier();
  const std::int32_t lastPID = lastKnownFrontmostPID_.exchange(pid);
  if (pid == lastPID) return;
  focusLog.info("⚡️ EventRouter detected PID change: %d → %d", lastPID, pid);
  const std::int32_t returningPID = returningPID_;
  if (pid == returningPID) return;
  if (returningPID != 0) {
    if (keystrokeBuffer_->mode() != BufferMode::capturing) keystrokeBuffer_->startCapturing();
    return;
  }
  keystrokeBuffer_->startSpeculativeCapture();
  focusLog.info("⏸️  EventRouter started speculative capture on PID change");
}

}  // namespace varnoletKit
