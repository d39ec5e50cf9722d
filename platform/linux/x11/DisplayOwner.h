// One guard on a display: two would take each other's keyboards.
#pragma once

#include <chrono>
#include <memory>
#include <utility>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Owns the display for guards, by a selection of the server, until it is destroyed or the process ends. Unlike the name
// on a bus, it cannot be had twice by programs on different buses or on none. Used by one thread at a time.
class DisplayOwner {
 public:
  // Waits for an owner that is about to end. Null if the display still has one after that time, or the server is gone.
  static std::unique_ptr<DisplayOwner> claim(std::chrono::milliseconds patience);

 private:
  explicit DisplayOwner(std::unique_ptr<XcbConnection> connection) : connection_(std::move(connection)) {}

  std::unique_ptr<XcbConnection> connection_;
};

}  // namespace platform::linux_desktop
