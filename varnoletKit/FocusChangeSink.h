// Hands the outcomes of the focus-change observer to the engine.
#pragma once

#include <memory>

#include "varnoletKit/FocusChangeDelegate.h"

namespace varnoletKit {

class FocusGuardEngine;

// Main thread. Does nothing while there is no engine, and once it is gone.
class FocusChangeSink final : public FocusChangeDelegate {
 public:
  void setEngine(std::weak_ptr<FocusGuardEngine> engine);

  void focusChangeUserInitiated(const platform::NSRunningApplication& app) override;
  void focusChangeProgrammaticTheftBy(const platform::NSRunningApplication& thief,
                                      const platform::NSRunningApplication& blessedApp) override;
  void focusChangeWhitelisted(const platform::NSRunningApplication& app) override;

 private:
  std::weak_ptr<FocusGuardEngine> engine_;
};

}  // namespace varnoletKit
