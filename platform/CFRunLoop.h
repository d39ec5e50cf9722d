// Run loops: a thread that waits for its sources and lets them act.
#pragma once

#include <memory>

#include "platform/CGEvent.h"

namespace platform {

// A thread's run loop. Named only; all that can be done with it is below.
class CFRunLoop {
 public:
  CFRunLoop() = default;
  CFRunLoop(const CFRunLoop&) = delete;
  CFRunLoop& operator=(const CFRunLoop&) = delete;
  virtual ~CFRunLoop() = default;
};
using CFRunLoopRef = std::shared_ptr<CFRunLoop>;

class CFRunLoopSource {
 public:
  CFRunLoopSource() = default;
  CFRunLoopSource(const CFRunLoopSource&) = delete;
  CFRunLoopSource& operator=(const CFRunLoopSource&) = delete;
  virtual ~CFRunLoopSource() = default;
};
using CFRunLoopSourceRef = std::shared_ptr<CFRunLoopSource>;

enum class CFRunLoopMode { kCFRunLoopDefaultMode, kCFRunLoopCommonModes };
inline constexpr CFRunLoopMode kCFRunLoopDefaultMode = CFRunLoopMode::kCFRunLoopDefaultMode;
inline constexpr CFRunLoopMode kCFRunLoopCommonModes = CFRunLoopMode::kCFRunLoopCommonModes;

// The platform's default allocator: the only one there is.
struct CFAllocator {};
inline constexpr CFAllocator kCFAllocatorDefault;

enum class CFRunLoopRunResult { finished, stopped, timedOut, handledSource };

// Each may be called from any thread; sources may be added to and removed from a running loop.
CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocator allocator, const CFMachPortRef& port, int order);
CFRunLoopRef CFRunLoopGetCurrent();
CFRunLoopRef CFRunLoopGetMain();
void CFRunLoopAddSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode);
void CFRunLoopRemoveSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode);
// Makes the present run of `loop` return; without one, nothing happens.
void CFRunLoopStop(const CFRunLoopRef& loop);

// Runs the calling thread's loop for at most `seconds`; with `returnAfterSourceHandled` it returns after the first
// source that acted. `finished` at once if the loop has no source. Not for the main thread.
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, double seconds, bool returnAfterSourceHandled);

}  // namespace platform
