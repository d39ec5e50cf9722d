// A source for the main thread's run loop, which belongs to Qt.
#pragma once

#include "platform/CFRunLoop.h"

namespace platform::linux_desktop {

// Acts between attach() and detach(), which are called on the main thread.
class MainLoopSource : public CFRunLoopSource {
 public:
  virtual void attach() = 0;
  virtual void detach() = 0;
};

}  // namespace platform::linux_desktop
