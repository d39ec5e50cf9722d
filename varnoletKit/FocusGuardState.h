// What the focus guard is doing, for everyone to see.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/NSRunningApplication.h"
#include "platform/Tasks.h"
#include "varnoletKit/ObservationRegistrar.h"

namespace varnoletKit {

// Shared by the engine, which writes it, and by whoever shows it. Every property is observable (Observation.h): reading
// it registers the reader, and writing a different value tells the readers. Lives in memory only. Main thread only.
class FocusGuardState {
 public:
  // The protected application; absent while there is none. Applications are equal when they are the same process.
  std::optional<platform::NSRunningApplication> blessedApp() const { return registrar_.read(blessedApp_); }
  void setBlessedApp(std::optional<platform::NSRunningApplication> app) {
    registrar_.write(blessedApp_, std::move(app));
  }

  // True while a theft is being undone.
  bool isIntercepting() const { return registrar_.read(isIntercepting_); }
  void setIsIntercepting(bool isIntercepting) { registrar_.write(isIntercepting_, isIntercepting); }

  // True while protection is on: activations are judged.
  bool isEnabled() const { return registrar_.read(isEnabled_); }
  void setIsEnabled(bool isEnabled) { registrar_.write(isEnabled_, isEnabled); }

  // Intercepts begun since this object was made. No day boundary resets it.
  std::int64_t blockedToday() const { return registrar_.read(blockedToday_); }
  void setBlockedToday(std::int64_t count) { registrar_.write(blockedToday_, count); }
  // One change for the readers, and always told.
  void incrementBlockedToday() {
    registrar_.modify(blockedToday_, [](std::int64_t& count) { ++count; });
  }

  // Display name of the application of the latest intercept; absent if none began yet, or if it had no name.
  std::optional<std::string> lastBlockedApp() const { return registrar_.read(lastBlockedApp_); }
  void setLastBlockedApp(std::optional<std::string> name) { registrar_.write(lastBlockedApp_, std::move(name)); }

  // When the latest intercept began, in wall-clock time.
  std::optional<platform::Date> lastBlockedTime() const { return registrar_.read(lastBlockedTime_); }
  void setLastBlockedTime(std::optional<platform::Date> time) { registrar_.write(lastBlockedTime_, time); }

 private:
  std::optional<platform::NSRunningApplication> blessedApp_;
  bool isIntercepting_ = false;
  bool isEnabled_ = true;
  std::int64_t blockedToday_ = 0;
  std::optional<std::string> lastBlockedApp_;
  std::optional<platform::Date> lastBlockedTime_;
  ObservationRegistrar registrar_;
};

}  // namespace varnoletKit
