#include "varnoletKit/FocusChangeSink.h"

#include <cassert>
#include <utility>

#include "platform/Tasks.h"
#include "varnoletKit/FocusGuardEngine.h"

namespace varnoletKit {

void FocusChangeSink::setEngine(std::weak_ptr<FocusGuardEngine> engine) {
  assert(platform::isMainThread());
  engine_ = std::move(engine);
}

void FocusChangeSink::focusChangeUserInitiated(const platform::NSRunningApplication& app) {
  assert(platform::isMainThread());
  if (const auto engine = engine_.lock()) engine->state().setBlessedApp(app);
}

void FocusChangeSink::focusChangeProgrammaticTheftBy(const platform::NSRunningApplication& thief,
                                                     const platform::NSRunningApplication& blessedApp) {
  assert(platform::isMainThread());
  if (const auto engine = engine_.lock()) engine->handleProgrammaticTheft(thief, blessedApp);
}

void FocusChangeSink::focusChangeWhitelisted(const platform::NSRunningApplication& app) {
  focusChangeUserInitiated(app);
}

}  // namespace varnoletKit
