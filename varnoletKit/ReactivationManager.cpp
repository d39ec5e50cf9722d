#include "varnoletKit/ReactivationManager.h"

#include <cassert>
#include <chrono>
#include <string>

#include "platform/Log.h"
#include "platform/NSWorkspace.h"
#include "platform/Tasks.h"

namespace varnoletKit {
namespace {

using namespace std::chrono_literals;
using platform::DispatchTime;

constexpr platform::Logger focusLog(platform::LogCategory::focus);

constexpr auto pollInterval = 100ms;
constexpr std::int64_t pollLimit = 5;

std::int64_t msSince(DispatchTime start) {
  return static_cast<std::int64_t>((DispatchTime::now().uptimeNanoseconds - start.uptimeNanoseconds) / 1'000'000);
}

}  // namespace

platform::Async<ReactivationResult> ReactivationManager::reactivate(platform::NSRunningApplication blessedApp) const {
  assert(platform::isMainThread());
  const DispatchTime start = DispatchTime::now();
  if (blessedApp.isTerminated()) {
    focusLog.info("Blessed app terminated — skipping re-activation");
    co_return ReactivationResult{ReactivationResult::appTerminated{}};
  }

  const bool accepted = blessedApp.activateWithOptions(platform::NSApplicationActivationOptions::none);
  const std::int64_t callMs = msSince(start);
  const std::string name = blessedApp.localizedName().value_or("unknown");
  if (!accepted) focusLog.error("activate() returned false for %s", name);
  focusLog.info("Re-activation call took %ldms for %s", callMs, name);

  for (std::int64_t poll = 1; poll <= pollLimit; ++poll) {
    co_await platform::sleepOnMainThread(pollInterval);
    if (platform::NSWorkspace::sharedWorkspace().frontmostApplication() == blessedApp) {
      const std::int64_t latencyMs = msSince(start);
      focusLog.info("Re-activation confirmed after %ld poll(s), total latency: %ldms", poll, latencyMs);
      co_return ReactivationResult{ReactivationResult::success{latencyMs}};
    }
    if (blessedApp.isTerminated()) {
      focusLog.info("Blessed app terminated during re-activation confirmation");
      co_return ReactivationResult{ReactivationResult::appTerminated{}};
    }
  }
  const std::int64_t latencyMs = msSince(start);
  focusLog.error("Re-activation not confirmed after %ld attempts (%ldms)", pollLimit, latencyMs);
  co_return ReactivationResult{ReactivationResult::confirmationFailed{latencyMs}};
}

}  // namespace varnoletKit
