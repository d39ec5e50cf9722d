// The guard's end of its watchdog.
#pragma once

#include <sys/types.h>

#include <memory>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/WatchdogBoard.h"
#include "platform/linux/XcbConnection.h"

namespace platform::linux_desktop {

// Starts the watchdog process, which frees the keyboards when this process dies or stands still while it holds them.
// It ends when the link does. Used by one thread at a time.
class WatchdogLink {
 public:
  // The program lies beside the running executable. Without it the link does nothing: isWatched() tells.
  WatchdogLink();
  WatchdogLink(const WatchdogLink&) = delete;
  WatchdogLink& operator=(const WatchdogLink&) = delete;
  ~WatchdogLink();

  bool isWatched() const { return process_ > 0; }
  // The connection that will grab from now on.
  void watch(XcbConnection& connection);
  // Starts a new watchdog if the old one is gone.
  void gateClosed();
  void gateOpened() { board_->isGateClosed.store(false, std::memory_order_release); }
  // To be called more often than the watchdog's patience lasts, while the gate is closed.
  void beat() { board_->beat.store(monotonicNanoseconds(), std::memory_order_release); }
  void emittedDown(const KeySet& keys) { board_->setEmittedDown(keys); }

 private:
  void start();
  void end();

  FileDescriptor memory_;
  WatchdogBoard* board_ = nullptr;
  FileDescriptor stream_;
  pid_t process_ = 0;
};

}  // namespace platform::linux_desktop
