#include "varnoletKit/GestureDetector.h"

#include <algorithm>

#include "platform/Log.h"

namespace varnoletKit {
namespace {

using platform::Date;
using std::chrono::milliseconds;

constexpr platform::Logger gestureLog(platform::LogCategory::gesture);

constexpr std::int64_t smallestCapacity = 8;

bool isQualifyingGesture(platform::CGEventType type, platform::CGEventFlags flags) {
  switch (type) {
    case platform::kCGEventLeftMouseDown:
    case platform::kCGEventRightMouseDown:
    case platform::kCGEventOtherMouseDown:
      return true;
    case platform::kCGEventKeyDown:
      return (flags & platform::kCGEventFlagMaskCommand) != 0;
    default:
      return false;
  }
}

// A window may be any number that a settings file can hold; a century either way keeps the times representable.
Date cutoffOf(Date now, std::int64_t windowMs) {
  constexpr milliseconds century = std::chrono::hours(24 * 365 * 100);
  return now - std::clamp(milliseconds(windowMs), -century, century);
}

std::int64_t ageMs(Date now, Date timestamp) {
  return std::chrono::duration_cast<milliseconds>(now - timestamp).count();
}

}  // namespace

GestureDetector::GestureDetector(std::int64_t capacity) : capacity_(std::max(capacity, smallestCapacity)) {
  buffer_.resize(static_cast<std::size_t>(capacity_));
}

void GestureDetector::recordEvent(platform::CGEventType type, platform::CGEventFlags flags, double locationY,
                                  Date timestamp) {
  const bool qualifies = isQualifyingGesture(type, flags);
  if (qualifies) {
    lastGestureTime_.set(timestamp);
    gestureLog.debug("📝 recordEvent: type=%u → QUALIFYING GESTURE", type);
  }
  const std::lock_guard lock(lock_);
  buffer_[static_cast<std::size_t>(writeIndex_)] = TimestampedEvent{type, flags, locationY, timestamp, qualifies};
  writeIndex_ = (writeIndex_ + 1) % capacity_;
  count_ = std::min(count_ + 1, capacity_);
}

bool GestureDetector::hasRecentUserGesture(std::int64_t windowMs) {
  const Date now = platform::dateNow();
  const Date cutoff = cutoffOf(now, windowMs);
  const Date lastGestureTime = lastGestureTime_.get();
  if (lastGestureTime >= cutoff) {
    gestureLog.debug("=== hasRecentUserGesture: FAST PATH hit — qualifying gesture %ldms ago",
                     ageMs(now, lastGestureTime));
    return true;
  }
  return scan(now, cutoff, windowMs);
}

// Finds a gesture that came in between the look at its time and the look at the ring, and tells the log what the user
// did last.
bool GestureDetector::scan(Date now, Date cutoff, std::int64_t windowMs) {
  const std::lock_guard lock(lock_);
  gestureLog.debug("=== hasRecentUserGesture: windowMs=%ld, buffer count=%ld", windowMs, count_);
  std::int64_t scanned = 0;
  bool found = false;
  for (std::int64_t i = 0; i < count_ && !found; ++i) {
    const auto& entry = buffer_[static_cast<std::size_t>((writeIndex_ - 1 - i + capacity_) % capacity_)];
    if (!entry) continue;
    ++scanned;
    const std::int64_t age = ageMs(now, entry->timestamp);
    gestureLog.debug("  Entry[%ld]: type=%u, age=%ldms, isGesture=%{bool}d", i, entry->type, age,
                     entry->isQualifyingGesture);
    if (entry->timestamp < cutoff) {
      gestureLog.debug("  Entry too old (age %ldms > window %ldms), stopping scan", age, windowMs);
      break;
    }
    if (entry->isQualifyingGesture) {
      gestureLog.debug("  ✓ Found qualifying gesture! type=%u, age=%ldms", entry->type, age);
      found = true;
    }
  }
  gestureLog.debug("=== Result: %s (scanned %ld events)", found ? "FOUND" : "NOT FOUND", scanned);
  return found;
}

void GestureDetector::reset() {
  const std::lock_guard lock(lock_);
  std::fill(buffer_.begin(), buffer_.end(), std::nullopt);
  writeIndex_ = 0;
  count_ = 0;
}

}  // namespace varnoletKit
