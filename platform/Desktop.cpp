#include "platform/Desktop.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "platform/UUID.h"

namespace platform {
namespace {

std::atomic<Desktop*> installed{nullptr};

[[noreturn]] void fail(const char* why) {
  std::fputs(why, stderr);
  std::abort();
}

}  // namespace

Desktop& Desktop::current() {
  Desktop* desktop = installed.load(std::memory_order_acquire);
  if (!desktop) fail("platform: no desktop is installed\n");
  return *desktop;
}

InstalledDesktop::InstalledDesktop(Desktop& desktop) {
  if (installed.exchange(&desktop, std::memory_order_acq_rel)) fail("platform: two desktops are installed\n");
}

InstalledDesktop::~InstalledDesktop() {
  installed.store(nullptr, std::memory_order_release);
}

NSWorkspace& NSWorkspace::sharedWorkspace() {
  return Desktop::current().workspace();
}
NSNotificationCenter& NSNotificationCenter::defaultCenter() {
  return Desktop::current().defaultNotificationCenter();
}
UNUserNotificationCenter& UNUserNotificationCenter::currentNotificationCenter() {
  return Desktop::current().userNotificationCenter();
}
SMAppService& SMAppService::mainAppService() {
  return Desktop::current().mainAppService();
}
NSFileManager& NSFileManager::defaultManager() {
  return Desktop::current().fileManager();
}
NSBundle NSBundle::mainBundle() {
  return Desktop::current().bundles().mainBundle();
}
std::optional<NSBundle> NSBundle::bundleWithURL(const std::filesystem::path& location) {
  return Desktop::current().bundles().bundleAt(location);
}
std::shared_ptr<UserDefaults> UserDefaults::suite(const std::string& suiteName) {
  return Desktop::current().userDefaults().suite(suiteName);
}
std::shared_ptr<UserDefaults> UserDefaults::standard() {
  return Desktop::current().userDefaults().standard();
}
std::string newUUID() {
  return Desktop::current().newUUID();
}

CFMachPortRef CGEventTapCreate(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
                               CGEventMask mask, CGEventTapCallBack callback, void* userInfo) {
  return Desktop::current().events().createTap(location, placement, options, mask, callback, userInfo);
}
void CGEventTapEnable(const CFMachPortRef& tap, bool enable) {
  tap->setEnabled(enable);
}
bool CGEventTapIsEnabled(const CFMachPortRef& tap) {
  return tap->isEnabled();
}
void CFMachPortInvalidate(const CFMachPortRef& tap) {
  tap->invalidate();
}
void CGEventPost(CGEventTapLocation location, std::unique_ptr<CGEvent> event) {
  Desktop::current().events().post(location, std::move(event));
}

CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocator, const CFMachPortRef& port, int order) {
  return Desktop::current().runLoops().createSource(port, order);
}
CFRunLoopRef CFRunLoopGetCurrent() {
  return Desktop::current().runLoops().current();
}
CFRunLoopRef CFRunLoopGetMain() {
  return Desktop::current().runLoops().main();
}
void CFRunLoopAddSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) {
  Desktop::current().runLoops().addSource(loop, source, mode);
}
void CFRunLoopRemoveSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) {
  Desktop::current().runLoops().removeSource(loop, source, mode);
}
void CFRunLoopStop(const CFRunLoopRef& loop) {
  Desktop::current().runLoops().stop(loop);
}
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, double seconds, bool returnAfterSourceHandled) {
  return Desktop::current().runLoops().runInMode(mode, seconds, returnAfterSourceHandled);
}

bool AXIsProcessTrusted() {
  return Desktop::current().accessibility().isProcessTrusted();
}
std::variant<AXError, AXObserverRef> AXObserverCreate(std::int32_t pid, AXObserverCallback callback) {
  return Desktop::current().accessibility().createObserver(pid, callback);
}
AXUIElementRef AXUIElementCreateApplication(std::int32_t pid) {
  return std::make_shared<const AXUIElement>(pid);
}
AXError AXObserverAddNotification(const AXObserverRef& observer, const AXUIElementRef& element,
                                  const std::string& notification, void* refcon) {
  return observer->addNotification(element, notification, refcon);
}
CFRunLoopSourceRef AXObserverGetRunLoopSource(const AXObserverRef& observer) {
  return observer->runLoopSource();
}

Date dateNow() {
  return Desktop::current().tasks().dateNow();
}
DispatchTime DispatchTime::now() {
  return {Desktop::current().tasks().uptimeNanoseconds()};
}
void runOnMainThread(Work work) {
  Desktop::current().tasks().runOnMainThread(std::move(work));
}
ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work) {
  return Desktop::current().tasks().runOnMainThreadAfter(delay, std::move(work));
}
void runInBackground(QualityOfService quality, Work work) {
  Desktop::current().tasks().runInBackground(quality, std::move(work));
}
ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds delay, Work work) {
  return Desktop::current().tasks().runInBackgroundAfter(delay, std::move(work));
}
bool isMainThread() {
  return Desktop::current().tasks().isMainThread();
}
void sleepForTimeInterval(double seconds) {
  Desktop::current().tasks().sleepForTimeInterval(seconds);
}
std::unique_ptr<DispatchQueue> dispatchQueueCreate(const std::string& label, QualityOfService quality) {
  return Desktop::current().tasks().createQueue(label, quality);
}

}  // namespace platform
