// The desktop that the process runs on: one object that provides every service of this folder.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/AXObserver.h"
#include "platform/CFRunLoop.h"
#include "platform/CGEvent.h"
#include "platform/Log.h"
#include "platform/NSBundle.h"
#include "platform/NSFileManager.h"
#include "platform/NSNotificationCenter.h"
#include "platform/NSWorkspace.h"
#include "platform/SMAppService.h"
#include "platform/Tasks.h"
#include "platform/UNUserNotificationCenter.h"
#include "platform/UserDefaults.h"

namespace platform {

// What stands behind the functions of CGEvent.h.
class EventServices {
 public:
  virtual ~EventServices() = default;
  virtual CFMachPortRef createTap(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
                                  CGEventMask mask, CGEventTapCallBack callback, void* userInfo) = 0;
  virtual void post(CGEventTapLocation location, std::unique_ptr<CGEvent> event) = 0;
};

// What stands behind the functions of CFRunLoop.h.
class RunLoops {
 public:
  virtual ~RunLoops() = default;
  virtual CFRunLoopSourceRef createSource(const CFMachPortRef& port, int order) = 0;
  virtual CFRunLoopRef current() = 0;
  virtual CFRunLoopRef main() = 0;
  virtual void addSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) = 0;
  virtual void removeSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) = 0;
  virtual void stop(const CFRunLoopRef& loop) = 0;
  virtual CFRunLoopRunResult runInMode(CFRunLoopMode mode, double seconds, bool returnAfterSourceHandled) = 0;
};

// What stands behind the functions of AXObserver.h.
class AccessibilityServices {
 public:
  virtual ~AccessibilityServices() = default;
  virtual bool isProcessTrusted() = 0;
  virtual std::variant<AXError, AXObserverRef> createObserver(std::int32_t pid, AXObserverCallback callback) = 0;
};

// What stands behind the functions of Tasks.h.
class TaskServices {
 public:
  virtual ~TaskServices() = default;
  virtual Date dateNow() = 0;
  virtual std::uint64_t uptimeNanoseconds() = 0;
  virtual void runOnMainThread(Work work) = 0;
  virtual ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work) = 0;
  virtual void runInBackground(QualityOfService quality, Work work) = 0;
  virtual ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds delay, Work work) = 0;
  virtual bool isMainThread() = 0;
  virtual void sleepForTimeInterval(double seconds) = 0;
  virtual std::unique_ptr<DispatchQueue> createQueue(const std::string& label, QualityOfService quality) = 0;
};

// What stands behind the functions of NSBundle.h.
class BundleServices {
 public:
  virtual ~BundleServices() = default;
  virtual NSBundle mainBundle() = 0;
  virtual std::optional<NSBundle> bundleAt(const std::filesystem::path& location) = 0;
};

class UserDefaultsServices {
 public:
  virtual ~UserDefaultsServices() = default;
  virtual std::shared_ptr<UserDefaults> suite(const std::string& suiteName) = 0;
  virtual std::shared_ptr<UserDefaults> standard() = 0;
};

class Desktop {
 public:
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  // The installed desktop. Ends the process if there is none: that is a mistake in the program.
  static Desktop& current();

  virtual NSWorkspace& workspace() = 0;
  virtual EventServices& events() = 0;
  virtual RunLoops& runLoops() = 0;
  virtual AccessibilityServices& accessibility() = 0;
  virtual TaskServices& tasks() = 0;
  virtual UserDefaultsServices& userDefaults() = 0;
  virtual NSFileManager& fileManager() = 0;
  virtual BundleServices& bundles() = 0;
  virtual NSNotificationCenter& defaultNotificationCenter() = 0;
  virtual UNUserNotificationCenter& userNotificationCenter() = 0;
  virtual SMAppService& mainAppService() = 0;
  virtual LogSink& log() = 0;
  virtual std::string newUUID() = 0;
};

// Installs a desktop for its own lifetime. One at a time.
class InstalledDesktop {
 public:
  explicit InstalledDesktop(Desktop& desktop);
  InstalledDesktop(const InstalledDesktop&) = delete;
  InstalledDesktop& operator=(const InstalledDesktop&) = delete;
  ~InstalledDesktop();
};

}  // namespace platform
