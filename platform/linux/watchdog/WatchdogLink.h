// The guard's end of its watchdog.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/watchdog/WatchdogBoard.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Starts the watchdog process, which frees the keyboards when this process dies or stands still while it holds them.
// A watchdog that ends, or is silent for a second, is replaced. It ends when the link does. Used by one thread at a
// time.
class WatchdogLink {
 public:
  // The program lies beside the running executable. Without it the link does nothing: isWatched() tells.
  WatchdogLink();
  WatchdogLink(const WatchdogLink&) = delete;
  WatchdogLink& operator=(const WatchdogLink&) = delete;
  ~WatchdogLink();

  bool isWatched() const { return process_ > 0; }
  // The connection that will grab from now on. It is handed to the watchdog, and stays open there until it is shut
  // down.
  void watch(XcbConnection& connection);
  // False from the moment that a silent watchdog is replaced until the new one answers. Nothing is to be held
  // meanwhile.
  bool isAnswering();
  void gateClosed();
  void gateOpened() { board_->isHolding.store(false, std::memory_order_release); }
  // The window of this process that grabs by itself, in place of a connection with a gate.
  void grabBegan(xcb_window_t window);
  void grabEnded() { gateOpened(); }
  // To be called more often than the watchdog's patience lasts, while the gate is closed or the grab lasts.
  void beat();
  void emittedDown(const KeySet& keys) { board_->setEmittedDown(keys); }

 private:
  using Clock = std::chrono::steady_clock;

  void start();
  void end(std::chrono::milliseconds longestFarewell);
  void replace();
  // Sends a byte, and a descriptor with it if there is one.
  void call(int descriptor = -1);
  void takeAnswers();
  void replaceIfSilent();

  FileDescriptor memory_;
  WatchdogBoard* board_ = nullptr;
  FileDescriptor stream_;
  FileDescriptor watched_;
  pid_t process_ = 0;
  std::optional<Clock::time_point> unanswered_;  // since when a call is
  Clock::time_point lastCall_;
  bool isAnswering_ = true;
};

}  // namespace platform::linux_desktop
