// Pausing protection, for one hour or until it is resumed.
#pragma once

#include <memory>
#include <optional>

#include "platform/Tasks.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/ObservationRegistrar.h"

namespace varnolet {

// Switches the shared state's isEnabled; the engine runs on. The properties are observable
// (varnoletKit/Observation.h). Nothing of a pause outlives the process. Main thread only.
class PauseManager : public std::enable_shared_from_this<PauseManager> {
 public:
  // Not paused, whatever the state's isEnabled says; that is left as it is.
  static std::shared_ptr<PauseManager> create(std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState);

  bool isPaused() const { return registrar_.read(isPaused_); }
  // Wall-clock time; absent while not paused or paused indefinitely.
  std::optional<platform::Date> pauseEndTime() const { return registrar_.read(pauseEndTime_); }
  // What ends a pause of one hour; null while there is none.
  std::shared_ptr<const platform::ScheduledTask> resumeTimer() const { return registrar_.read(resumeTimer_); }

  // Each may be called in any state and replaces a pause that is in force.
  void pauseForOneHour();
  void pauseIndefinitely();
  // Also switches protection on where there was no pause.
  void resume();
  // If the hour is over by the wall clock: timers stand still while the computer sleeps.
  void resumeIfDue();

 private:
  explicit PauseManager(std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState);

  void invalidateResumeTimer();
  std::shared_ptr<platform::ScheduledTask> startResumeTimer();

  const std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState_;
  std::shared_ptr<platform::ScheduledTask> resumeTimer_;
  bool isPaused_ = false;
  std::optional<platform::Date> pauseEndTime_;
  varnoletKit::ObservationRegistrar registrar_;
};

}  // namespace varnolet
