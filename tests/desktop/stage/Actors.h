// The applications on a virtual desktop, each a process of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "tests/desktop/stage/ChildProcess.h"
#include "tests/desktop/stage/Keyboard.h"
#include "tests/desktop/stage/VirtualDesktop.h"

namespace stage {

// A key as an application was given it.
struct ReceivedKey {
  bool isPress = false;
  KeyCode key = 0;
  std::uint16_t state = 0;
  std::uint32_t keysym = 0;
  std::chrono::steady_clock::time_point when;
};

class Actor {
 public:
  // Returns once its window is there. `options` are those of stage_actor.
  Actor(const VirtualDesktop& desktop, const std::string& role, const std::vector<std::string>& options = {});

  xcb_window_t window() const { return window_; }
  pid_t pid() const { return process_.pid(); }
  // All keys so far, releases included.
  std::vector<ReceivedKey> keys() const;
  // The key codes of the presses among them.
  std::vector<KeyCode> presses() const;
  std::size_t keyCount() const { return keyCount_; }
  std::size_t pressCount() const { return pressCount_; }
  void forgetKeys();
  // How often one of its windows got the focus.
  unsigned timesFocused() const { return timesFocused_; }
  bool isFocused() const { return isFocused_; }
  // Returns when it was done, unless told not to wait.
  void tell(const std::string& command);
  void tellAndGoOn(const std::string& command) { process_.tell(command); }
  std::optional<std::string> waitForReport(const std::string& part) { return process_.output().waitFor(part); }

 private:
  void take(const std::string& line);

  mutable std::mutex mutex_;
  std::vector<ReceivedKey> keys_;
  std::atomic<std::size_t> keyCount_ = 0;
  std::atomic<std::size_t> pressCount_ = 0;
  std::atomic<unsigned> timesFocused_ = 0;
  std::atomic<unsigned> commandsDone_ = 0;
  std::atomic<bool> isFocused_ = false;
  xcb_window_t window_ = XCB_WINDOW_NONE;
  ChildProcess process_;
};

enum class Theft { byRequest, byApplicationRequest, byNewWindow, byInputFocus };
std::string nameOf(Theft theft);

// Has the thief take the focus; returns at once.
void steal(Actor& thief, Theft theft);

}  // namespace stage
