// The application that is being brought back to the front, known to the main thread and to the tap's.
#pragma once

#include <sys/types.h>
#include <xcb/xcb.h>

#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace platform::linux_desktop {

// Any thread.
class ReturnUnderWay {
 public:
  struct Goal {
    pid_t process = 0;
    xcb_window_t focus = XCB_WINDOW_NONE;  // the window of it that is to have the input focus
    std::optional<pid_t> intruder;         // the application whose coming to the front is undone
  };

  void begin(const Goal& goal) {
    const std::lock_guard lock(mutex_);
    goal_ = goal;
  }
  // From now on whoever is in front may stay there: it took long enough, or the user has decided otherwise.
  void end() {
    const std::lock_guard lock(mutex_);
    if (std::exchange(goal_, std::nullopt) && onEnd_) onEnd_();
  }
  std::optional<Goal> goal() const {
    const std::lock_guard lock(mutex_);
    return goal_;
  }
  // Called within end(), on its thread; not to call back from.
  void setEndHandler(std::function<void()> handler) {
    const std::lock_guard lock(mutex_);
    onEnd_ = std::move(handler);
  }

 private:
  mutable std::mutex mutex_;
  std::optional<Goal> goal_;
  std::function<void()> onEnd_;
};

}  // namespace platform::linux_desktop
