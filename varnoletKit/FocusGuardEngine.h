// Starts and stops the guard, and undoes the thefts that it finds.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Coroutine.h"
#include "platform/NSRunningApplication.h"
#include "varnoletKit/AXObserverManager.h"
#include "varnoletKit/BlockedEvent.h"
#include "varnoletKit/EventLogging.h"
#include "varnoletKit/EventRouter.h"
#include "varnoletKit/EventTapManager.h"
#include "varnoletKit/ExpectedReturn.h"
#include "varnoletKit/FocusChangeObserver.h"
#include "varnoletKit/FocusChangeSink.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/GestureDetector.h"
#include "varnoletKit/KeystrokeBuffer.h"
#include "varnoletKit/ReactivationManager.h"
#include "varnoletKit/WhitelistChecking.h"

namespace varnoletKit {

// Owns and wires everything that watches input and activations, and undoes each theft of the focus: has the blessed app
// brought back, the held keys replayed into it, and the block logged and reported.
//
// Main thread.
class FocusGuardEngine final : public KeystrokeBufferDelegate, public std::enable_shared_from_this<FocusGuardEngine> {
 public:
  // Starts nothing. Both times are milliseconds and fixed for the engine's life. Without a logger, blocked events are
  // not logged.
  static std::shared_ptr<FocusGuardEngine> create(std::int64_t gestureWindowMs, std::int64_t bufferTimeoutMs,
                                                  std::shared_ptr<WhitelistChecking> whitelistChecker,
                                                  std::shared_ptr<EventLogging> eventLogger,
                                                  std::shared_ptr<FocusGuardState> state);

  // Whether protection is active. Without the event tap the engine runs all the same, protecting nothing until it is
  // stopped and started again. While running, only tells.
  bool start();
  // Held keys are dropped. A re-activation that is under way completes, with its replay, its log entry and its report.
  void stop();
  // From start() to stop(), also without the event tap.
  bool isRunning() const { return isRunning_; }

  // Called once for each confirmed block, after it was handed to the event logger.
  std::function<void(const BlockedEvent&)> onBlockOccurred;

  GestureDetector& gestureDetector() const { return *gestureDetector_; }
  KeystrokeBuffer& keystrokeBuffer() const { return *keystrokeBuffer_; }
  const ReactivationManager& reactivationManager() const { return reactivationManager_; }
  AXObserverManager& axObserverManager() const { return *axObserverManager_; }
  FocusGuardState& state() const { return *state_; }

  // Counts the theft at once and undoes it in a task of its own. Thefts that overlap are undone independently. The held
  // keys are replayed into the blessed app only if its return was expected without a break since this call.
  void handleProgrammaticTheft(const platform::NSRunningApplication& thief,
                               const platform::NSRunningApplication& blessedApp);

  void keystrokeBufferDidTimeout() override;
  void keystrokeBufferDidCancelViaMouseClick() override;

 private:
  FocusGuardEngine(std::int64_t gestureWindowMs, std::int64_t bufferTimeoutMs,
                   std::shared_ptr<WhitelistChecking> whitelistChecker, std::shared_ptr<EventLogging> eventLogger,
                   std::shared_ptr<FocusGuardState> state);

  void beginIntercept(const platform::NSRunningApplication& thief);
  // Keeps the engine until the theft is undone or given up.
  static platform::DetachedTask undoTheft(std::shared_ptr<FocusGuardEngine> engine,
                                          platform::NSRunningApplication thief,
                                          platform::NSRunningApplication blessedApp,
                                          ExpectedReturn::Expectation expectation);
  // The blessed app was seen in front. Returns how many keys were replayed into it.
  std::int64_t endIntercept(const platform::NSRunningApplication& blessedApp, bool wasExpected);
  void reportBlock(const platform::NSRunningApplication& thief, const platform::NSRunningApplication& blessedApp,
                   std::int64_t keystrokesReplayed, std::int64_t latencyMs);
  // Gives every intercept up in favour of whichever application is in front, possibly none.
  void yieldToFrontmost();

  std::shared_ptr<GestureDetector> gestureDetector_;
  std::shared_ptr<KeystrokeBuffer> keystrokeBuffer_;
  ReactivationManager reactivationManager_;
  std::shared_ptr<AXObserverManager> axObserverManager_;
  std::shared_ptr<FocusChangeObserver> focusChangeObserver_;
  std::shared_ptr<FocusChangeSink> focusChangeSink_;
  const std::shared_ptr<ExpectedReturn> expectedReturn_ = std::make_shared<ExpectedReturn>();
  std::shared_ptr<EventRouter> eventRouter_;
  const std::shared_ptr<EventLogging> eventLogger_;
  const std::shared_ptr<FocusGuardState> state_;
  bool isRunning_ = false;
  // The last: the tap's thread ends before anything that it uses is gone.
  std::unique_ptr<EventTapManager> eventTapManager_;
};

}  // namespace varnoletKit
