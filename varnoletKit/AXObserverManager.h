// Listens to what each running application says itself about becoming active.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AXObserver.h"
#include "platform/Coroutine.h"
#include "platform/NSNotificationCenter.h"
#include "platform/NSRunningApplication.h"

namespace varnoletKit {

// One accessibility observer per process, from its launch, or from the start of monitoring, to its end. An activation
// is posted 0.1 seconds later on the default notification centre, under the application identifier followed by
// ".axActivationDetected", with the process under "pid". A process that cannot be observed is left out.
//
// Main thread. Held by std::shared_ptr: what it does later refers to it weakly.
class AXObserverManager final : public std::enable_shared_from_this<AXObserverManager> {
 public:
  AXObserverManager() = default;
  AXObserverManager(const AXObserverManager&) = delete;
  AXObserverManager& operator=(const AXObserverManager&) = delete;
  ~AXObserverManager();

  // Returns at once; the applications running now are registered in the background, one after another.
  void startMonitoring();
  // Does not end a background registration, whose further observers stay until the next stop.
  void stopMonitoring();

  // For the owner's use; the manager does not call it.
  std::function<void(std::int32_t pid)> onActivation;

 private:
  // An observer and its context: a cell with the process identifier, which the callback reads and which so outlives it.
  struct Registration {
    std::unique_ptr<std::int32_t> refcon;
    platform::AXObserverRef observer;
  };

  static platform::DetachedTask registerInBackground(std::weak_ptr<AXObserverManager> manager,
                                                     std::vector<platform::NSRunningApplication> applications);
  static platform::Async<void> registerObserverInBackground(std::weak_ptr<AXObserverManager> manager, std::int32_t pid);
  // Any thread; may wait for the process. Absent if it cannot be observed.
  static std::optional<Registration> createRegistration(std::int32_t pid);

  platform::NSNotificationCenter::ObserverToken onApplicationNotification(
      const char* name, void (AXObserverManager::*handle)(std::int32_t pid));
  void registerObserver(std::int32_t pid);
  void installObserver(std::int32_t pid, Registration registration);
  void deregisterObserver(std::int32_t pid);
  void removeNotificationObservers();
  static void removeSource(const platform::AXObserverRef& observer);

  static void axObserverCallback(platform::AXObserver& observer, const platform::AXUIElement& element,
                                 const std::string& notification, void* refcon);
  static platform::DetachedTask postActivationLater(std::int32_t pid);
  static void postActivation(std::int32_t pid);

  // Both have the same keys. Every observer in here has its source in the main run loop.
  std::map<std::int32_t, platform::AXObserverRef> observers_;
  std::map<std::int32_t, std::unique_ptr<std::int32_t>> refconPointers_;
  std::optional<platform::NSNotificationCenter::ObserverToken> launchToken_;
  std::optional<platform::NSNotificationCenter::ObserverToken> terminateToken_;
  bool isMonitoring_ = false;
};

}  // namespace varnoletKit
