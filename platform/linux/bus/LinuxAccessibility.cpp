#include "platform/linux/bus/LinuxAccessibility.h"

#include <utility>

#include "platform/linux/base/MainLoopSource.h"
#include "platform/linux/x11/WindowManager.h"

namespace platform::linux_desktop {
namespace {

class LinuxAXObserver;

// The observer's source. It hears of the process while it is attached.
class ActivationSource : public MainLoopSource,
                         public AccessibilityBus::Listener,
                         public std::enable_shared_from_this<ActivationSource> {
 public:
  ActivationSource(LinuxAXObserver& observer, std::int32_t pid, std::weak_ptr<AccessibilityBus> bus)
      : observer_(&observer), pid_(pid), bus_(std::move(bus)) {}

  void attach() override {
    const auto bus = bus_.lock();
    if (!bus || isAttached_) return;
    isAttached_ = true;
    bus->add(shared_from_this());
  }
  void detach() override {
    const auto bus = bus_.lock();
    if (bus && isAttached_) bus->remove(*this);
    isAttached_ = false;
  }
  std::int32_t processIdentifier() const override { return pid_; }
  void applicationActivated() override;

  void forgetObserver() { observer_ = nullptr; }

 private:
  LinuxAXObserver* observer_;
  std::int32_t pid_;
  std::weak_ptr<AccessibilityBus> bus_;
  bool isAttached_ = false;
};

// What is registered before the source is in the run loop is not seen by any other thread; afterwards everything
// happens on the main thread.
class LinuxAXObserver : public AXObserver {
 public:
  LinuxAXObserver(std::int32_t pid, AXObserverCallback callback, std::weak_ptr<AccessibilityBus> bus)
      : callback_(callback), source_(std::make_shared<ActivationSource>(*this, pid, std::move(bus))) {}
  ~LinuxAXObserver() override { source_->forgetObserver(); }

  AXError addNotification(const AXUIElementRef& element, const std::string& notification, void* refcon) override {
    if (notification != kAXApplicationActivatedNotification) return AXError::notificationUnsupported;
    if (!element || element->processIdentifier() != source_->processIdentifier()) return AXError::illegalArgument;
    element_ = element;
    refcon_ = refcon;
    return AXError::success;
  }
  CFRunLoopSourceRef runLoopSource() override { return source_; }

  void announce() {
    if (element_) callback_(*this, *element_, kAXApplicationActivatedNotification, refcon_);
  }

 private:
  AXObserverCallback callback_;
  std::shared_ptr<ActivationSource> source_;
  AXUIElementRef element_;
  void* refcon_ = nullptr;
};

void ActivationSource::applicationActivated() {
  if (observer_ && isAttached_) observer_->announce();
}

}  // namespace

LinuxAccessibility::LinuxAccessibility(XcbConnection& connection)
    : connection_(connection), bus_(std::make_shared<AccessibilityBus>()) {}

bool LinuxAccessibility::isProcessTrusted() {
  return windowManagerActivates(connection_) && !isGuestOfWayland(connection_);
}

std::variant<AXError, AXObserverRef> LinuxAccessibility::createObserver(std::int32_t pid, AXObserverCallback callback) {
  if (pid < 1 || !callback) return AXError::illegalArgument;
  if (bus_->isDisabled()) return AXError::apiDisabled;
  return std::make_shared<LinuxAXObserver>(pid, callback, bus_);
}

}  // namespace platform::linux_desktop
