// Work for the main thread, done by its event loop.
#pragma once

#include <QSocketNotifier>
#include <deque>
#include <mutex>

#include "platform/Tasks.h"
#include "platform/linux/base/FileDescriptor.h"

namespace platform::linux_desktop {

class MainThreadQueue {
 public:
  // On the main thread, once the application object is there.
  MainThreadQueue();

  // Any thread. In the order in which it was added, never inside this call, and also by nested event loops.
  void add(Work work);
  // Main thread. Destroys all work that waits, undone; false if none did.
  bool dropWaiting();

 private:
  void doWaitingWork();
  Work takeFirst();
  void noneWaits();

  std::mutex mutex_;
  std::deque<Work> waiting_;
  // Readable exactly while work waits. The threads meet in this descriptor and in the lock, and in nothing of Qt's.
  FileDescriptor wakeUp_;
  QSocketNotifier notifier_;
};

}  // namespace platform::linux_desktop
