// Judges every activation of an application.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/NSNotificationCenter.h"
#include "platform/NSRunningApplication.h"
#include "varnoletKit/EventRouter.h"
#include "varnoletKit/ExpectedReturn.h"
#include "varnoletKit/FocusChangeDelegate.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/GestureDetecting.h"
#include "varnoletKit/KeystrokeBuffer.h"
#include "varnoletKit/WhitelistChecking.h"

namespace varnoletKit {

// An activation was caused by the user, or is allowed by the whitelist, or finds nothing to protect: then it is
// accepted, the application becomes the blessed app, and keys held back meanwhile are released to it. Otherwise it is a
// theft: the blessed app stays and is expected back, and the keys stay held for it. The activation by which an expected
// application comes back leaves them to the replay.
//
// Main thread. Held by std::shared_ptr: its tasks refer to it weakly.
class FocusChangeObserver final : public std::enable_shared_from_this<FocusChangeObserver> {
 public:
  // Takes the application now in front as the blessed app, unless it is this program. Does not start observing. Both
  // `expectedReturn` and the router are told of every verdict before it takes effect on the held
  // keys: released keys pass the router once more, which must not take them for those of a stranger.
  FocusChangeObserver(std::shared_ptr<GestureDetecting> gestureDetector,
                      std::shared_ptr<WhitelistChecking> whitelistChecker, std::int64_t gestureWindowMs,
                      std::shared_ptr<FocusGuardState> state, std::weak_ptr<FocusChangeDelegate> delegate,
                      std::shared_ptr<KeystrokeBuffer> keystrokeBuffer, std::shared_ptr<ExpectedReturn> expectedReturn,
                      std::shared_ptr<EventRouter> eventRouter);
  FocusChangeObserver(const FocusChangeObserver&) = delete;
  FocusChangeObserver& operator=(const FocusChangeObserver&) = delete;
  ~FocusChangeObserver();

  void startObserving();
  // An activation that was noticed before is still judged.
  void stopObserving();

  // The application that is being protected; absent while there is none.
  const std::optional<platform::NSRunningApplication>& blessedApp() const { return blessedApp_; }
  void updateBlessedApp(std::optional<platform::NSRunningApplication> app);

 private:
  void handleActivation(const platform::NSRunningApplication& app);
  void accept(const platform::NSRunningApplication& app, const std::string& name,
              void (FocusChangeDelegate::*outcome)(const platform::NSRunningApplication&));
  void reportTheft(const platform::NSRunningApplication& thief);
  void removeObserver();

  const std::shared_ptr<GestureDetecting> gestureDetector_;
  const std::shared_ptr<WhitelistChecking> whitelistChecker_;
  const std::int64_t gestureWindowMs_;
  const std::shared_ptr<FocusGuardState> state_;
  const std::weak_ptr<FocusChangeDelegate> delegate_;
  std::optional<platform::NSNotificationCenter::ObserverToken> notificationToken_;
  const std::shared_ptr<KeystrokeBuffer> keystrokeBuffer_;
  const std::shared_ptr<ExpectedReturn> expectedReturn_;
  const std::shared_ptr<EventRouter> eventRouter_;
  std::optional<platform::NSRunningApplication> blessedApp_;
};

}  // namespace varnoletKit
