#include "varnoletKit/FocusChangeObserver.h"

#include <cassert>
#include <utility>

#include "platform/Log.h"
#include "platform/NSWorkspace.h"
#include "platform/Tasks.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace varnoletKit {
namespace {

using platform::NSRunningApplication;

constexpr platform::Logger focusLog(platform::LogCategory::focus);

std::optional<NSRunningApplication> frontmostButThisProgram() {
  auto frontmost = platform::NSWorkspace::sharedWorkspace().frontmostApplication();
  if (frontmost && frontmost->bundleIdentifier() == applicationIdentifier) return std::nullopt;
  return frontmost;
}

}  // namespace

FocusChangeObserver::FocusChangeObserver(std::shared_ptr<GestureDetecting> gestureDetector,
                                         std::shared_ptr<WhitelistChecking> whitelistChecker,
                                         std::int64_t gestureWindowMs, std::shared_ptr<FocusGuardState> state,
                                         std::weak_ptr<FocusChangeDelegate> delegate,
                                         std::shared_ptr<KeystrokeBuffer> keystrokeBuffer,
                                         std::shared_ptr<ExpectedReturn> expectedReturn,
                                         std::shared_ptr<EventRouter> eventRouter)
    : gestureDetector_(std::move(gestureDetector)),
      whitelistChecker_(std::move(whitelistChecker)),
      gestureWindowMs_(gestureWindowMs),
      state_(std::move(state)),
      delegate_(std::move(delegate)),
      keystrokeBuffer_(std::move(keystrokeBuffer)),
      expectedReturn_(std::move(expectedReturn)),
      eventRouter_(std::move(eventRouter)),
      blessedApp_(frontmostButThisProgram()) {
  assert(platform::isMainThread());
}

FocusChangeObserver::~FocusChangeObserver() {
  assert(platform::isMainThread());
  removeObserver();
}

void FocusChangeObserver::startObserving() {
  assert(platform::isMainThread());
  if (notificationToken_) {
    focusLog.debug("FocusChangeObserver already observing, skipping");
    return;
  }
  notificationToken_ = platform::NSWorkspace::sharedWorkspace().notificationCenter().addObserverForName(
      platform::NSWorkspaceDidActivateApplicationNotification, platform::NSOperationQueue::mainQueue,
      [weak = weak_from_this()](const platform::NSNotification& notification) {
        const auto app = notification.value<NSRunningApplication>(platform::NSWorkspaceApplicationKey);
        if (!app) return;
        platform::runOnMainThread([weak, app = *app] {
          if (const auto self = weak.lock()) self->handleActivation(app);
        });
      });
  focusLog.debug("FocusChangeObserver started observing");
}

void FocusChangeObserver::stopObserving() {
  assert(platform::isMainThread());
  removeObserver();
  focusLog.debug("FocusChangeObserver stopped observing");
}

void FocusChangeObserver::removeObserver() {
  if (!notificationToken_) return;
  platform::NSWorkspace::sharedWorkspace().notificationCenter().removeObserver(*notificationToken_);
  notificationToken_.reset();
}

void FocusChangeObserver::updateBlessedApp(std::optional<NSRunningApplication> app) {
  assert(platform::isMainThread());
  blessedApp_ = std::move(app);
}

void FocusChangeObserver::handleActivation(const NSRunningApplication& app) {
  assert(platform::isMainThread());
  if (!state_->isEnabled()) {
    focusLog.debug("Focus guard is paused/disabled, ignoring activation");
    return;
  }
  const std::string bundleID = app.bundleIdentifier().value_or("unknown");
  const std::string name = app.localizedName().value_or(bundleID);
  focusLog.info("🔔 Focus change notification: %s (%s)", name, bundleID);

  const bool isUserInitiated = gestureDetector_->hasRecentUserGesture(gestureWindowMs_);
  focusLog.info("🔍 Classification: %s for %s", isUserInitiated ? "USER-INITIATED" : "PROGRAMMATIC", name);

  // The blessed app coming back is never a theft. While a theft is being undone it is how that succeeds, and the held
  // keys wait for the replay, which also counts them. Later than that, nobody else would give them to it.
  if (expectedReturn_->pid() == app.processIdentifier()) {
    focusLog.info("↩️ Brought back, leaving held keys to the replay: %s", name);
    return;
  }

  if (isUserInitiated) {
    focusLog.info("✅ User-initiated activation: %s (%s)", name, bundleID);
    accept(app, name, &FocusChangeDelegate::focusChangeUserInitiated);
  } else if (whitelistChecker_->isWhitelisted(bundleID)) {
    focusLog.info("✅ Whitelisted programmatic activation: %s (%s)", name, bundleID);
    accept(app, name, &FocusChangeDelegate::focusChangeWhitelisted);
  } else if (blessedApp_ == app || expectedReturn_->mayStillCome(app.processIdentifier())) {
    focusLog.info("↩️ Came back by itself, accepting: %s", name);
    accept(app, name, &FocusChangeDelegate::focusChangeUserInitiated);
  } else if (blessedApp_) {
    focusLog.info("🚨 THEFT DETECTED: %s (%s) stole from %s", name, bundleID,
                  blessedApp_->localizedName().value_or("unknown"));
    reportTheft(app);
  } else {
    focusLog.info("ℹ️ No blessed app set, accepting: %s (%s)", name, bundleID);
    accept(app, name, &FocusChangeDelegate::focusChangeUserInitiated);
  }
}

void FocusChangeObserver::accept(const NSRunningApplication& app, const std::string& name,
                                 void (FocusChangeDelegate::*outcome)(const NSRunningApplication&)) {
  expectedReturn_->end();
  eventRouter_->setLastKnownFrontmostPID(app.processIdentifier());
  const std::int64_t flushed = keystrokeBuffer_->flush();
  focusLog.info("💨 Flushed %ld buffered keystroke(s) to %s", flushed, name);
  blessedApp_ = app;
  if (const auto delegate = delegate_.lock()) (delegate.get()->*outcome)(app);
}

void FocusChangeObserver::reportTheft(const NSRunningApplication& thief) {
  // Kept until the delegate has taken its own: without one, nobody is brought back.
  const auto expectation = expectedReturn_->expect(blessedApp_->processIdentifier());
  keystrokeBuffer_->promoteToCapture();
  focusLog.info("🔒 Promoted buffer to capture mode, will replay to blessed app");
  if (delegate_.expired()) {
    focusLog.error("CRITICAL: Delegate is nil! Cannot call programmaticTheft handler");
  } else {
    focusLog.debug("Calling delegate.focusChange(programmaticTheftBy:blessedApp:)");
  }
  // A copy, because the delegate may replace the blessed app.
  const NSRunningApplication blessedApp = *blessedApp_;
  if (const auto delegate = delegate_.lock()) delegate->focusChangeProgrammaticTheftBy(thief, blessedApp);
}

}  // namespace varnoletKit
