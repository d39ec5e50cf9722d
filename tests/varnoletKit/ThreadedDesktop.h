// A desktop of which only time, threads, posting and the log exist: for tests in which threads really run at once.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/Desktop.h"

namespace varnoletKit {

// The thread that creates it is the main thread. Delays pass a thousand times faster, so that a test can let a timer of
// 200 ms race with something thousands of times. All log levels are on.
class ThreadedDesktop final : public platform::Desktop,
                              private platform::EventServices,
                              private platform::TaskServices,
                              private platform::LogSink {
 public:
  ThreadedDesktop();
  ~ThreadedDesktop() override;

  // Called on the thread that posts or logs, inside the call. Set before other threads run.
  std::function<void(std::unique_ptr<platform::CGEvent>)> onPost;
  std::function<void()> onLog;
  // Called inside the call that starts a timer, which does not run yet.
  std::function<void()> onStartTimer;

  // Does the work that was handed to the main thread.
  void runMainThreadWork();
  // Until every timer has acted or was cancelled, and its thread is through.
  void waitForTimers();

  // From now on a timer that is due acts only when it is cancelled: too late for the cancellation to stop it.
  void letTimersActTooLate();
  // How many timers have been due since this desktop was made.
  int timersDue() const;

  platform::EventServices& events() override { return *this; }
  platform::TaskServices& tasks() override { return *this; }
  platform::LogSink& log() override { return *this; }
  platform::NSWorkspace& workspace() override { missing(); }
  platform::RunLoops& runLoops() override { missing(); }
  platform::AccessibilityServices& accessibility() override { missing(); }
  platform::UserDefaultsServices& userDefaults() override { missing(); }
  platform::NSFileManager& fileManager() override { missing(); }
  platform::BundleServices& bundles() override { missing(); }
  platform::NSNotificationCenter& defaultNotificationCenter() override { missing(); }
  platform::UNUserNotificationCenter& userNotificationCenter() override { missing(); }
  platform::SMAppService& mainAppService() override { missing(); }
  std::string newUUID() override { missing(); }

 private:
  class Timer;

  [[noreturn]] static void missing();

  platform::CFMachPortRef createTap(platform::CGEventTapLocation, platform::CGEventTapPlacement,
                                    platform::CGEventTapOptions, platform::CGEventMask, platform::CGEventTapCallBack,
                                    void*) override {
    missing();
  }
  void post(platform::CGEventTapLocation location, std::unique_ptr<platform::CGEvent> event) override;
  void write(platform::LogCategory category, platform::LogLevel level, const std::string& message) override;

  platform::Date dateNow() override { return std::chrono::system_clock::now(); }
  std::uint64_t uptimeNanoseconds() override { missing(); }
  void runOnMainThread(platform::Work work) override;
  platform::ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds, platform::Work) override { missing(); }
  void runInBackground(platform::QualityOfService, platform::Work) override { missing(); }
  platform::ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds delay, platform::Work work) override;
  bool isMainThread() override;
  void sleepForTimeInterval(double) override { missing(); }
  std::unique_ptr<platform::DispatchQueue> createQueue(const std::string&, platform::QualityOfService) override {
    missing();
  }

  struct Threads;

  platform::InstalledDesktop installed_;
  std::shared_ptr<Threads> threads_;
  std::mutex mutex_;
  std::vector<platform::Work> mainThreadWork_;
};

}  // namespace varnoletKit
