// Accessibility: whether this process may use it, and observers of one process's announcements.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "platform/CFRunLoop.h"

namespace platform {

enum class AXError : std::int32_t {
  success = 0,
  failure = -25200,
  illegalArgument = -25201,
  cannotComplete = -25204,
  notificationUnsupported = -25207,
  apiDisabled = -25211,
};

class AXObserver;
class AXUIElement;
using AXObserverRef = std::shared_ptr<AXObserver>;
using AXUIElementRef = std::shared_ptr<const AXUIElement>;

// Called on the main thread with the context given to AXObserverAddNotification.
using AXObserverCallback = void (*)(AXObserver& observer, const AXUIElement& element, const std::string& notification,
                                    void* refcon);

// The application of one process as accessibility sees it.
class AXUIElement {
 public:
  explicit AXUIElement(std::int32_t pid) : pid_(pid) {}
  std::int32_t processIdentifier() const { return pid_; }

 private:
  std::int32_t pid_;
};

// Observes one process once its source is in a run loop; nothing is called after the source was taken out there.
class AXObserver {
 public:
  AXObserver() = default;
  AXObserver(const AXObserver&) = delete;
  AXObserver& operator=(const AXObserver&) = delete;
  virtual ~AXObserver() = default;

  virtual AXError addNotification(const AXUIElementRef& element, const std::string& notification, void* refcon) = 0;
  virtual CFRunLoopSourceRef runLoopSource() = 0;
};

inline constexpr char kAXApplicationActivatedNotification[] = "AXApplicationActivated";

// True if other applications can be watched and brought to the front. Never asks the user. Main thread.
bool AXIsProcessTrusted();
// Any thread; may wait for the observed process, as may AXObserverAddNotification.
std::variant<AXError, AXObserverRef> AXObserverCreate(std::int32_t pid, AXObserverCallback callback);
AXUIElementRef AXUIElementCreateApplication(std::int32_t pid);
AXError AXObserverAddNotification(const AXObserverRef& observer, const AXUIElementRef& element,
                                  const std::string& notification, void* refcon);
CFRunLoopSourceRef AXObserverGetRunLoopSource(const AXObserverRef& observer);

}  // namespace platform
