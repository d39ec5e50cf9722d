// A source for the main run loop, which belongs to Qt: the source arranges its own calls there.
#pragma once

#include "platform/CFRunLoop.h"

namespace platform::linux_desktop {

class MainLoopSource : public CFRunLoopSource {
 public:
  // Main thread. Between the two, and only then, the source acts on the main thread.
  virtual void attach() = 0;
  virtual void detach() = 0;
};

}  // namespace platform::linux_desktop
