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
  eventRouter_ = std::make_shared<EventRouter>(gestureDetector_, keystrokeBuffer_, expectedReturn_);
  eventTapManager_ = std::make_unique<EventTapManager>(eventRouter_);
  focusChangeSink_ = std::make_shared<FocusChangeSink>();
  focusChangeObserver_ =
      std::make_shared<FocusChangeObserver>(gestureDetector_, std::move(whitelistChecker), gestureWindowMs, state_,
                                            focusChangeSink_, keystrokeBuffer_, expectedReturn_, eventRouter_);
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
  expectedReturn_->end();
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
  platform::runOnMainThread([weak = weak_from_this(), thief, blessedApp,
                             expectation = expectedReturn_->expect(blessedApp.processIdentifier())]() mutable {
    if (auto engine = weak.lock()) undoTheft(std::move(engine), thief, blessedApp, std::move(expectation));
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
                                                   NSRunningApplication blessedApp,
                                                   ExpectedReturn::Expectation expectation) {
  const ReactivationResult result = co_await engine->reactivationManager_.reactivate(blessedApp);
  const bool wasExpected = engine->expectedReturn_->isCurrent(expectation);
  expectation.reset();
  if (const auto* success = std::get_if<ReactivationResult::success>(&result.value)) {
    const std::int64_t replayed = engine->endIntercept(blessedApp, wasExpected);
    engine->reportBlock(thief, blessedApp, replayed, success->latencyMs);
  } else if (wasExpected && std::holds_alternative<ReactivationResult::appTerminated>(result.value)) {
    engine->keystrokeBuffer_->cancelCapture();
    engine->expectedReturn_->end();
    engine->yieldToFrontmost();
  }
  // Not confirmed: the keys stay held for the blessed app, should it come back by itself, until the buffer's timeout or
  // a click of the user ends the intercept.
}

std::int64_t FocusGuardEngine::endIntercept(const NSRunningApplication& blessedApp, bool wasExpected) {
  if (!wasExpected) {
    // It has ended before. What is held by now is not for this application: it waits to be judged, or for another
    // application that is being brought back. With nothing held, the replay only stops a timeout that was left behind.
    if (expectedReturn_->pid() != 0 || keystrokeBuffer_->mode() != BufferMode::passThrough) return 0;
    state_->setIsIntercepting(false);
    return keystrokeBuffer_->replay();
  }
  // Before the first key goes out: the same thief, should it be back by then, must not pass for the one in front.
  eventRouter_->setLastKnownFrontmostPID(blessedApp.processIdentifier());
  const std::int64_t replayed = keystrokeBuffer_->replay();
  // And once more: a key that was decided on meanwhile may have set another process.
  eventRouter_->setLastKnownFrontmostPID(blessedApp.processIdentifier());
  state_->setIsIntercepting(false);
  return replayed;
}

void FocusGuardEngine::reportBlock(const NSRunningApplication& thief, const NSRunningApplication& blessedApp,
                                   std::int64_t keystrokesReplayed, std::int64_t latencyMs) {
  const BlockedEvent event{
      .id = platform::newUUID(),
      .timestamp = platform::dateNow(),
      .thiefBundleID = bundleIDOf(thief),
      .thiefName = nameOf(thief),
      .protectedBundleID = bundleIDOf(blessedApp),
      .protectedName = nameOf(blessedApp),
      .keystrokesBuffered = keystrokesReplayed,
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
    if (expectedReturn_->pid() == 0) state_->setIsIntercepting(false);
    return;
  }
  expectedReturn_->giveUp();
  yieldToFrontmost();
  focusLog.info("Intercept timed out — blessed app updated to current frontmost");
}

void FocusGuardEngine::keystrokeBufferDidCancelViaMouseClick() {
  assert(platform::isMainThread());
  expectedReturn_->end();
  yieldToFrontmost();
  focusLog.info("Intercept cancelled by mouse click — user accepted new app");
}

void FocusGuardEngine::yieldToFrontmost() {
  state_->setIsIntercepting(false);
  const auto frontmost = platform::NSWorkspace::sharedWorkspace().frontmostApplication();
  eventRouter_->setLastKnownFrontmostPID(frontmost ? frontmost->processIdentifier() : 0);
  focusChangeObserver_->updateBlessedApp(frontmost);
  state_->setBlessedApp(frontmost);
}

}  // namespace varnoletKit
