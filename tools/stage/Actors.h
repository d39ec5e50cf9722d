// The applications on a virtual desktop, each a process of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tools/stage/ChildProcess.h"
#include "tools/stage/Keyboard.h"
#include "tools/stage/VirtualDesktop.h"

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
  // Returns once its window is there. `options` are those of stage_actor, `executable` another name for that program.
  Actor(const VirtualDesktop& desktop, const std::string& name, const std::vector<std::string>& options = {},
        const std::string& executable = "");
  // A program of that name which `starter` is going to start. `starter` has to end first.
  Actor(Actor& starter, const std::string& name);
  Actor(const Actor&) = delete;
  Actor& operator=(const Actor&) = delete;

  const std::string& name() const { return name_; }
  // 0 as long as one that another starts has none.
  xcb_window_t window() const { return window_; }
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
  void tellAndGoOn(const std::string& command) { process_->tell(command); }
  void signal(int number) const { process_->signal(number); }
  std::optional<std::string> waitForReport(const std::string& part) { return process_->output().waitFor(part); }

 private:
  void take(const std::string& line);

  const std::string name_;
  // Those that it starts; their lines come with its own.
  std::vector<Actor*> started_;

  mutable std::mutex mutex_;
  std::vector<ReceivedKey> keys_;
  std::atomic<std::size_t> keyCount_ = 0;
  std::atomic<std::size_t> pressCount_ = 0;
  std::atomic<unsigned> timesFocused_ = 0;
  std::atomic<unsigned> commandsDone_ = 0;
  std::atomic<bool> isFocused_ = false;
  std::atomic<xcb_window_t> window_ = XCB_WINDOW_NONE;
  std::optional<ChildProcess> process_;
};

// The program of the actors under another name; its path.
std::filesystem::path actorNamed(const VirtualDesktop& desktop, const std::string& executable);

enum class Theft { byRequest, byApplicationRequest, byNewWindow, byInputFocus };
std::string nameOf(Theft theft);

// Has the thief take the focus; returns at once.
void steal(Actor& thief, Theft theft);

}  // namespace stage
