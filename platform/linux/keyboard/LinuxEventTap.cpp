#include "platform/linux/keyboard/LinuxEventTap.h"

#include "platform/Log.h"
#include "platform/linux/keyboard/TapSession.h"
#include "platform/linux/x11/WindowManager.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

constexpr Logger logger(LogCategory::focus);
// After a lost connection, until the next attempt.
constexpr std::chrono::milliseconds reconnectInterval = 250ms;

bool serverAllowsTaps() {
  const auto connection = XcbConnection::open();
  return connection && InputDevices(*connection).isSupported() && !isGuestOfWayland(*connection);
}

}  // namespace

// Keeps a session running: a connection that the watchdog has cut, or that is lost otherwise, is followed by a new one
// as soon as the server takes it. What the old one held is gone with it and is never typed late.
class LinuxEventTap::Source final : public PolledSource {
 public:
  Source(CGEventMask mask, CGEventTapCallBack callback, void* userInfo, std::shared_ptr<ActivationDesk> desk)
      : mask_(mask),
        callback_(callback),
        userInfo_(userInfo),
        watchdog_(std::make_shared<WatchdogLink>()),
        desk_(std::move(desk)) {
    if (!watchdog_->isWatched()) logger.error("The keyboard watchdog is missing: a killed guard may leave keys down");
    connect();
  }

  bool isConnected() const { return session_ != nullptr; }
  bool isEnabled() const { return isEnabled_.load(std::memory_order_seq_cst); }
  void setEnabled(bool enabled) {
    isEnabled_.store(enabled, std::memory_order_seq_cst);
    // The tap's thread may have left its loop already.
    if (!enabled) desk_->close();
  }

  void addPollDescriptors(std::vector<pollfd>& descriptors) override {
    if (session_) session_->addPollDescriptors(descriptors);
  }

  std::optional<Clock::time_point> deadline() override {
    if (!isEnabled()) return std::nullopt;
    return session_ ? session_->deadline() : nextAttempt_;
  }

  bool perform() override {
    if (!isEnabled()) {
      session_.reset();
      return false;
    }
    if (!session_ && Clock::now() >= nextAttempt_.value_or(Clock::time_point::min())) connect();
    if (!session_) return false;
    const bool hasHandled = session_->perform();
    // Whoever disabled it meanwhile has closed the desk, perhaps before the session opened it.
    if (!isEnabled()) desk_->close();
    if (session_->isLost()) {
      logger.error("The event tap lost its connection to the X server");
      session_.reset();
      nextAttempt_ = Clock::now() + reconnectInterval;
    }
    return hasHandled;
  }

 private:
  void connect() {
    session_ =
        TapSession::open([this](CGEventType type, TapEvent& event) { return show(type, event); }, watchdog_, desk_);
    nextAttempt_ = Clock::now() + reconnectInterval;
  }

  bool show(CGEventType type, TapEvent& event) {
    if ((mask_ >> type & 1) == 0) return true;
    return callback_(nullptr, type, event, userInfo_) != nullptr;
  }

  CGEventMask mask_;
  CGEventTapCallBack callback_;
  void* userInfo_;
  std::shared_ptr<WatchdogLink> watchdog_;
  std::shared_ptr<ActivationDesk> desk_;
  std::atomic<bool> isEnabled_ = true;
  std::unique_ptr<TapSession> session_;
  std::optional<Clock::time_point> nextAttempt_;
};

std::shared_ptr<LinuxEventTap> LinuxEventTap::create(CGEventTapOptions options, CGEventMask mask,
                                                     CGEventTapCallBack callback, void* userInfo,
                                                     std::shared_ptr<ActivationDesk> desk) {
  if (!serverAllowsTaps()) return nullptr;
  // A tap that may only listen is made to find out whether one could be: it needs no connection before it is in a loop.
  if (options == CGEventTapOptions::listenOnly) return std::shared_ptr<LinuxEventTap>(new LinuxEventTap(nullptr));
  auto source = std::make_shared<Source>(mask, callback, userInfo, std::move(desk));
  if (!source->isConnected()) return nullptr;
  return std::shared_ptr<LinuxEventTap>(new LinuxEventTap(std::move(source)));
}

void LinuxEventTap::setEnabled(bool enabled) {
  if (source_) source_->setEnabled(enabled);
}

bool LinuxEventTap::isEnabled() const {
  return source_ && source_->isEnabled();
}

CFRunLoopSourceRef LinuxEventTap::createSource() const {
  return source_;
}

void LinuxEventTap::invalidate() {
  setEnabled(false);
}

}  // namespace platform::linux_desktop
