// Copying keymaps and repeat rates from one keyboard to another.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/linux/keyboard/KeyStroke.h"

namespace platform::linux_desktop {

// Works on a thread and an X connection of its own, because it takes milliseconds. A keymap that is the same already is
// not written: writing it makes every application read it again. Any thread may ask.
class KeymapMirror {
 public:
  KeymapMirror();
  KeymapMirror(const KeymapMirror&) = delete;
  KeymapMirror& operator=(const KeymapMirror&) = delete;
  // Waits for a copy that is being made; the ones still to make are left.
  ~KeymapMirror();

  void copy(DeviceId from, DeviceId to);
  // True when all copies asked for are made.
  bool isIdle();

 private:
  struct Request {
    DeviceId from = 0;
    DeviceId to = 0;
    friend bool operator==(const Request& a, const Request& b) { return a.from == b.from && a.to == b.to; }
  };

  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Request> requests_;
  bool isCopying_ = false;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace platform::linux_desktop
