// Who is told what became of each activation.
#pragma once

#include "platform/NSRunningApplication.h"

namespace varnoletKit {

// Main thread.
class FocusChangeDelegate {
 public:
  FocusChangeDelegate() = default;
  FocusChangeDelegate(const FocusChangeDelegate&) = delete;
  FocusChangeDelegate& operator=(const FocusChangeDelegate&) = delete;
  virtual ~FocusChangeDelegate() = default;

  // The user activated `app`, or nothing was protected when it came.
  virtual void focusChangeUserInitiated(const platform::NSRunningApplication& app) = 0;
  // `thief` took the focus from `blessedApp`, which stays the protected application.
  virtual void focusChangeProgrammaticTheftBy(const platform::NSRunningApplication& thief,
                                              const platform::NSRunningApplication& blessedApp) = 0;
  // `app` activated itself, as its place in the whitelist allows.
  virtual void focusChangeWhitelisted(const platform::NSRunningApplication& app) = 0;
};

}  // namespace varnoletKit
