#include "platform/linux/threads/LinuxTasks.h"

#include <algorithm>
#include <cassert>

namespace platform::linux_desktop {
namespace {

constexpr std::size_t backgroundThreads = 3;
constexpr double longestSleepSeconds = 1e9;

}  // namespace

LinuxTasks::LinuxTasks() : mainThread_(std::this_thread::get_id()), background_("background", backgroundThreads) {}

void LinuxTasks::finish() {
  assert(isMainThread());
  timers_.finish();
  background_.finish();
  // What goes may hand over work once more.
  while (timers_.dropWaiting() || mainThreadQueue_.dropWaiting()) continue;
}

Date LinuxTasks::dateNow() {
  return std::chrono::system_clock::now();
}

std::uint64_t LinuxTasks::uptimeNanoseconds() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::nanoseconds(sinceStart).count());
}

void LinuxTasks::runOnMainThread(Work work) {
  mainThreadQueue_.add(std::move(work));
}

ScheduledTask LinuxTasks::runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work) {
  return timers_.schedule(delay, std::move(work), &mainThreadQueue_);
}

void LinuxTasks::runInBackground(QualityOfService, Work work) {
  background_.add(std::move(work));
}

ScheduledTask LinuxTasks::runInBackgroundAfter(std::chrono::nanoseconds delay, Work work) {
  return timers_.schedule(delay, std::move(work), nullptr);
}

bool LinuxTasks::isMainThread() {
  return std::this_thread::get_id() == mainThread_;
}

void LinuxTasks::sleepForTimeInterval(double seconds) {
  if (!(seconds > 0)) return;
  std::this_thread::sleep_for(std::chrono::duration<double>(std::min(seconds, longestSleepSeconds)));
}

std::unique_ptr<DispatchQueue> LinuxTasks::createQueue(const std::string& label, QualityOfService quality) {
  return std::make_unique<SerialQueue>(label, quality);
}

}  // namespace platform::linux_desktop
