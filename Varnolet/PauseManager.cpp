#include "Varnolet/PauseManager.h"

#include <cassert>
#include <chrono>
#include <utility>

#include "platform/Log.h"

namespace varnolet {
namespace {

constexpr platform::Logger focusLog(platform::LogCategory::focus);
constexpr std::chrono::seconds oneHour(3600);

}  // namespace

std::shared_ptr<PauseManager> PauseManager::create(std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState) {
  return std::shared_ptr<PauseManager>(new PauseManager(std::move(focusGuardState)));
}

PauseManager::PauseManager(std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState)
    : focusGuardState_(std::move(focusGuardState)) {}

void PauseManager::pauseForOneHour() {
  assert(platform::isMainThread());
  invalidateResumeTimer();
  registrar_.write(isPaused_, true);
  registrar_.write(pauseEndTime_, platform::dateNow() + oneHour);
  focusGuardState_->setIsEnabled(false);
  focusLog.info("Focus guard paused for one hour.");
  registrar_.write(resumeTimer_, startResumeTimer());
}

void PauseManager::pauseIndefinitely() {
  assert(platform::isMainThread());
  invalidateResumeTimer();
  registrar_.write(isPaused_, true);
  registrar_.write(pauseEndTime_, std::nullopt);
  focusGuardState_->setIsEnabled(false);
  focusLog.info("Focus guard paused indefinitely.");
}

void PauseManager::resume() {
  assert(platform::isMainThread());
  invalidateResumeTimer();
  registrar_.write(isPaused_, false);
  registrar_.write(pauseEndTime_, std::nullopt);
  focusGuardState_->setIsEnabled(true);
  focusLog.info("Focus guard resumed.");
}

void PauseManager::resumeIfDue() {
  assert(platform::isMainThread());
  if (pauseEndTime_ && *pauseEndTime_ <= platform::dateNow()) resume();
}

void PauseManager::invalidateResumeTimer() {
  if (resumeTimer_) resumeTimer_->cancel();
  registrar_.write(resumeTimer_, nullptr);
}

std::shared_ptr<platform::ScheduledTask> PauseManager::startResumeTimer() {
  auto timer = std::make_shared<platform::ScheduledTask>();
  *timer = platform::runOnMainThreadAfter(oneHour, [weak = weak_from_this(), due = std::weak_ptr(timer)] {
    platform::runOnMainThread([weak, due] {
      const auto manager = weak.lock();
      const auto dueTimer = due.lock();
      // A command given since the timer fired stands.
      if (manager && dueTimer && manager->resumeTimer_ == dueTimer) manager->resume();
    });
  });
  return timer;
}

}  // namespace varnolet
