#include "varnoletKit/EventTapManager.h"

#include <cassert>
#include <string>
#include <utility>

#include "platform/Log.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace varnoletKit {
namespace {

constexpr platform::Logger focusLog(platform::LogCategory::focus);
constexpr platform::Logger gestureLog(platform::LogCategory::gesture);
constexpr platform::Logger lifecycleLog(platform::LogCategory::lifecycle);

// How long a loop can outlive its stop flag if nothing wakes it up.
constexpr double runSliceSeconds = 1.0;
constexpr double stopPauseSeconds = 0.1;

constexpr platform::CGEventMask monitoredEventMask() {
  platform::CGEventMask mask = 0;
  for (const auto type : EventTapManager::monitoredEventTypes) {
    if (type < 64) mask |= platform::CGEventMask{1} << type;
  }
  return mask;
}

}  // namespace

EventTapManager::EventTapManager(std::weak_ptr<EventTapDelegate> delegate)
    : queue_(platform::dispatchQueueCreate(std::string(applicationIdentifier) + ".eventtap",
                                           platform::QualityOfService::userInteractive)),
      tap_(std::make_shared<Tap>()),
      context_{std::move(delegate)} {
  assert(platform::isMainThread());
}

EventTapManager::~EventTapManager() {
  stop();
  // Waits for the tap's thread, which may be inside a callback that uses the context.
  queue_.reset();
}

bool EventTapManager::start() {
  assert(platform::isMainThread());
  // A loop that was handed to the queue and has not begun counts as running: the creation of a second tap would wait
  // behind it for as long as it runs.
  if (tap_->isRunning || machPort()) {
    lifecycleLog.debug("EventTap already running, skipping start");
    return machPort() != nullptr;
  }
  bool created = false;
  queue_->sync([this, &created] { created = createTap(); });
  if (created) {
    queue_->async([weak = std::weak_ptr(tap_)] {
      if (const auto tap = weak.lock()) runLoop(*tap);
    });
  }
  return created;
}

void EventTapManager::stop() {
  assert(platform::isMainThread());
  tearDown();
  platform::sleepForTimeInterval(stopPauseSeconds);
}

void EventTapManager::reenable() {
  assert(platform::isMainThread());
  const auto port = machPort();
  if (!port || platform::CGEventTapIsEnabled(port)) return;
  platform::CGEventTapEnable(port, true);
  focusLog.info("EventTap re-enabled after system disable");
}

bool EventTapManager::isActive() const {
  assert(platform::isMainThread());
  const auto port = machPort();
  return port && platform::CGEventTapIsEnabled(port);
}

platform::CFMachPortRef EventTapManager::machPort() const {
  const std::lock_guard lock(tap_->mutex);
  return tap_->machPort;
}

bool EventTapManager::createTap() {
  auto port = platform::CGEventTapCreate(platform::CGEventTapLocation::hid, platform::CGEventTapPlacement::headInsert,
                                         platform::CGEventTapOptions::active, monitoredEventMask(), eventTapCallback,
                                         &context_);
  if (!port) {
    focusLog.error("Failed to create CGEventTap — Accessibility permission likely not granted");
    return false;
  }
  {
    const std::lock_guard lock(tap_->mutex);
    tap_->machPort = std::move(port);
  }
  focusLog.info("CGEventTap created successfully");
  return true;
}

void EventTapManager::runLoop(Tap& tap) {
  // References of this call's own: a teardown clears the shared ones while the loop still runs.
  platform::CFMachPortRef port;
  platform::CFRunLoopSourceRef source;
  platform::CFRunLoopRef loop;
  {
    const std::lock_guard lock(tap.mutex);
    port = tap.machPort;
    if (!port) return;
    source = platform::CFMachPortCreateRunLoopSource(platform::kCFAllocatorDefault, port, 0);
    tap.runLoopSource = source;
    loop = platform::CFRunLoopGetCurrent();
    tap.runLoop = loop;
    platform::CFRunLoopAddSource(loop, source, platform::kCFRunLoopCommonModes);
    tap.isRunning = true;
  }
  lifecycleLog.debug("EventTap run loop started");
  while (tap.isRunning) {
    platform::CFRunLoopRunInMode(platform::kCFRunLoopDefaultMode, runSliceSeconds, true);
  }
  lifecycleLog.debug("EventTap run loop exited");
}

// On the caller's thread: the queue is busy with the loop until the flag is cleared.
void EventTapManager::tearDown() {
  platform::CFMachPortRef port;
  platform::CFRunLoopSourceRef source;
  platform::CFRunLoopRef loop;
  {
    const std::lock_guard lock(tap_->mutex);
    tap_->isRunning = false;
    source = std::exchange(tap_->runLoopSource, nullptr);
    loop = std::exchange(tap_->runLoop, nullptr);
    port = std::exchange(tap_->machPort, nullptr);
  }
  if (loop && source) {
    platform::CFRunLoopRemoveSource(loop, source, platform::kCFRunLoopCommonModes);
    platform::CFRunLoopStop(loop);
  }
  if (port) platform::CGEventTapEnable(port, false);
  lifecycleLog.info("EventTap torn down");
}

platform::CGEvent* EventTapManager::eventTapCallback(platform::CGEventTapProxy proxy, platform::CGEventType type,
                                                     platform::CGEvent& event, void* userInfo) {
  gestureLog.debug("⚡️ eventTapCallback called! type=%u", type);
  if (type >= platform::kCGEventTapDisabledByTimeout) {
    focusLog.error("CGEventTap disabled by system (type: %u)", type);
    return &event;
  }
  if (!userInfo) {
    gestureLog.error("eventTapCallback: userInfo is nil!");
    return &event;
  }
  const auto delegate = static_cast<const EventTapContext*>(userInfo)->delegate.lock();
  if (!delegate) {
    gestureLog.error("eventTapCallback: delegate is nil!");
    return &event;
  }
  platform::CGEvent* passed = delegate->handleTapEvent(proxy, type, event);
  if (!passed) gestureLog.debug("eventTapCallback: event suppressed (capture mode)");
  return passed;
}

}  // namespace varnoletKit
