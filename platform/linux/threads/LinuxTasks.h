// Clocks, main-thread work on Qt's event loop, and background threads.
#pragma once

#include <thread>

#include "platform/Desktop.h"
#include "platform/linux/threads/MainThreadQueue.h"
#include "platform/linux/threads/TimerThread.h"
#include "platform/linux/threads/WorkerThreads.h"

namespace platform::linux_desktop {

// Made on the main thread, once the application object is there. Handles that it gave out must not outlive it.
class LinuxTasks : public TaskServices {
 public:
  LinuxTasks();
  ~LinuxTasks() override { finish(); }

  // Main thread. Waits for background work and ends the threads: afterwards nothing acts on them any more. Then drops
  // what waits for its time or for the main thread, and with it the coroutines asleep. To be called while the desktop
  // is still installed, because the work, and what it holds, may use it.
  void finish();

  Date dateNow() override;
  std::uint64_t uptimeNanoseconds() override;
  void runOnMainThread(Work work) override;
  ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work) override;
  // Work of every quality shares a few threads.
  void runInBackground(QualityOfService quality, Work work) override;
  // The work acts on the one timer thread, where it holds up other timers, so it is to be short.
  ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds delay, Work work) override;
  bool isMainThread() override;
  void sleepForTimeInterval(double seconds) override;
  std::unique_ptr<DispatchQueue> createQueue(const std::string& label, QualityOfService quality) override;

 private:
  std::thread::id mainThread_;
  MainThreadQueue mainThreadQueue_;
  TimerThread timers_;
  WorkerThreads background_;
};

}  // namespace platform::linux_desktop
