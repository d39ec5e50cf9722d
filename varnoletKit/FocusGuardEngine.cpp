#include "varnoletKit/FocusGuardEngine.h"

#include <cassert>
#include <utility>
#include <variant>

#include "platform/Log.h"
#include "platform/NSWorkspace.h"
#include "platform/Tasks.h"
#include "platform/UUID.h"

namespace varnoletKit {
namespace {

using platform::NSRunningApplication;

constexpr platform::Logger focusLog(platform::LogCategory::focus);
constexpr platform::Logger lifecycleLog(platform::LogCategory::lifecycle);

constexpr std::int64_t gestureCapacity = 64;

std::string nameOf(const NSRunningApplication& app) {
  return app.localizedName().value_or("unknown");
}

std::string bundleIDOf(const NSRunningApplication& app) {
  return app.bundleIdentifier().value_or("unknown");
}

}  // namespace

std::shared_ptr<FocusGuardEngine> FocusGuardEngine::create(std::int64_t gestureWindowMs, std::int64_t bufferTimeoutMs,
                                                           std::shared_ptr<WhitelistChecking> whitelistChecker,
                                                           std::shared_ptr<EventLogging> eventLogger,
                                                           std::shared_ptr<FocusGuardState> state) {
  std::shared_ptr<FocusGuardEngine> engine(new FocusGuardEngine(
      gestureWindowMs, bufferTimeoutMs, std::move(whitelistChecker), std::move(eventLogger), std::move(state)));
  engine->focusChangeSink_->setEngine(engine);
  engine->keystrokeBuffer_->setDelegate(engine);
  return engine;
}

// In the body, because the parts are made in another order than that in which they are kept.
FocusGuardEngine::FocusGuardEngine(std::int64_t gestureWindowMs, std::int64_t bufferTimeoutMs,
                                   std::shared_ptr<WhitelistChecking> whitelistChecker,
                                   std::shared_ptr<EventLogging> eventLogger, std::shared_ptr<FocusGuardState> state)
    : eventLogger_(std::move(eventLogger)), state_(std::move(state)) {
  assert(platform::isMainThread());
  gestureDetector_ = std::make_shared<GestureDetector>(gestureCapacity);
  keystrokeBuffer_ = std::make_shared<KeystrokeBuffer>(bufferTimeoutMs, std::weak_ptr<KeystrokeBufferDelegate>());
  axObserverManager_ = std::make_shared<AXObserverManager>();
  eventRouter_ = std::make_shared<EventRouter>(gestureDetector_, keystrokeBuffer_);
  eventTapManager_ = std::make_unique<EventTapManager>(eventRouter_);
  focusChangeSink_ = std::make_shared<FocusChangeSink>();
  focusChangeObserver_ = std::make_shared<FocusChangeObserver>(
      gestureDetector_, std::move(whitelistChecker), gestureWindowMs, state_, focusChangeSink_, keystrokeBuffer_);
  focusChangeObserver_->setEventRouter(eventRouter_);
}

bool FocusGuardEngine::start() {
  assert(platform::isMainThread());
  if (isRunning_) {
    lifecycleLog.debug("FocusGuardEngine.start() called but already running — skipping");
    return state_->isEnabled();
  }
  const bool hasTap = eventTapManager_->start();
  if (!hasTap) focusLog.error("FocusGuardEngine: EventTap creation failed — engine cannot protect");
  focusChangeObserver_->startObserving();
  axObserverManager_->startMonitoring();
  isRunning_ = true;
  state_->setIsEnabled(hasTap);
  lifecycleLog.info("FocusGuardEngine started (tap: %{bool}d)", hasTap);
  return hasTap;
}

void FocusGuardEngine::stop() {
  assert(platform::isMainThread());
  eventTapManager_->stop();
  focusChangeObserver_->stopObserving();
  axObserverManager_->stopMonitoring();
  keystrokeBuffer_->cancelCapture();
  isRunning_ = false;
  state_->setIsEnabled(false);
  state_->setIsIntercepting(false);
  lifecycleLog.info("FocusGuardEngine stopped");
}

void FocusGuardEngine::handleProgrammaticTheft(const NSRunningApplication& thief,
                                               const NSRunningApplication& blessedApp) {
  assert(platform::isMainThread());
  focusLog.info("🔴 handleProgrammaticTheft called - thief: %s, blessed: %s", nameOf(thief), nameOf(blessedApp));
  beginIntercept(thief);
  focusLog.info("🛡️  Beginning intercept for %s → %s", nameOf(thief), nameOf(blessedApp));
  ++reactivationsInFlight_;
  platform::runOnMainThread([weak = weak_from_this(), thief, blessedApp] {
    if (auto engine = weak.lock()) undoTheft(std::move(engine), thief, blessedApp);
  });
}

void FocusGuardEngine::beginIntercept(const NSRunningApplication& thief) {
  state_->setIsIntercepting(true);
  const auto name = thief.localizedName();
  state_->setLastBlockedApp(name ? name : thief.bundleIdentifier());
  state_->setLastBlockedTime(platform::dateNow());
  state_->incrementBlockedToday();
}

platform::DetachedTask FocusGuardEngine::undoTheft(std::shared_ptr<FocusGuardEngine> engine, NSRunningApplication thief,
                                                   NSRunningApplication blessedApp) {
  const ReactivationResult result = co_await engine->reactivationManager_.reactivate(blessedApp);
  if (--engine->reactivationsInFlight_ == 0) engine->eventRouter_->expectReturnOf(0);
  if (const auto* success = std::get_if<ReactivationResult::success>(&result.value)) {
    engine->blockSucceeded(thief, blessedApp, success->latencyMs);
  } else if (std::holds_alternative<ReactivationResult::appTerminated>(result.value)) {
    engine->keystrokeBuffer_->cancelCapture();
    engine->acceptFrontmost();
  }
  // Not confirmed: the keys stay held for the blessed app, should it come back by itself, until the buffer's timeout or
  // a click of the user ends the intercept.
}

void FocusGuardEngine::blockSucceeded(const NSRunningApplication& thief, const NSRunningApplication& blessedApp,
                                      std::int64_t latencyMs) {
  // Before the first key goes out: the same thief, should it be back by then, must not pass for the one in front.
  eventRouter_->noteFrontmost(blessedApp.processIdentifier());
  const std::int64_t replayed = keystrokeBuffer_->replay();
  // And once more: a key that was decided on meanwhile may have left another process noted.
  eventRouter_->noteFrontmost(blessedApp.processIdentifier());
  state_->setIsIntercepting(false);
  const BlockedEvent event{
      .id = platform::newUUID(),
      .timestamp = platform::dateNow(),
      .thiefBundleID = bundleIDOf(thief),
      .thiefName = nameOf(thief),
      .protectedBundleID = bundleIDOf(blessedApp),
      .protectedName = nameOf(blessedApp),
      .keystrokesBuffered = replayed,
      .reactivationLatencyMs = latencyMs,
  };
  if (eventLogger_) eventLogger_->log(event);
  // A copy, because the one that is called may replace it.
  if (const auto report = onBlockOccurred) report(event);
}

void FocusGuardEngine::keystrokeBufferDidTimeout() {
  assert(platform::isMainThread());
  // Told late, when the next change of the focus already waits to be judged: that one must not be accepted unseen.
  if (keystrokeBuffer_->mode() != BufferMode::passThrough) {
    if (reactivationsInFlight_ == 0) state_->setIsIntercepting(false);
    return;
  }
  acceptFrontmost();
  focusLog.info("Intercept timed out — blessed app updated to current frontmost");
}

void FocusGuardEngine::keystrokeBufferDidCancelViaMouseClick() {
  assert(platform::isMainThread());
  acceptFrontmost();
  focusLog.info("Intercept cancelled by mouse click — user accepted new app");
}

void FocusGuardEngine::acceptFrontmost() {
  state_->setIsIntercepting(false);
  const auto frontmost = platform::NSWorkspace::sharedWorkspace().frontmostApplication();
  eventRouter_->acceptFrontmost(frontmost ? frontmost->processIdentifier() : 0);
  focusChangeObserver_->updateBlessedApp(frontmost);
  state_->setBlessedApp(frontmost);
}

}  // namespace varnoletKit
