// Work that waits for its time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/Tasks.h"
#include "platform/linux/threads/MainThreadQueue.h"

namespace platform::linux_desktop {

// One thread that sleeps until the next piece of work is due, and without end while there is none.
class TimerThread {
 public:
  TimerThread();
  TimerThread(const TimerThread&) = delete;
  TimerThread& operator=(const TimerThread&) = delete;
  ~TimerThread() { finish(); }

  // Ends the thread. Work that still waits never acts.
  void finish();
  // Destroys all work that waits for its time, as if each piece were cancelled; false if none did.
  bool dropWaiting();

  // Any thread. When due, the work acts on `destination`, or on the timer thread itself if that is null; dropped by the
  // one or the other, it lets go of what it holds, which may be its own handle. The handle must not outlive this
  // object.
  ScheduledTask schedule(std::chrono::nanoseconds delay, Work work, MainThreadQueue* destination);

 private:
  class TimedWork;
  class DueWork;
  class Handle;
  struct Entry {
    std::shared_ptr<TimedWork> work;
    MainThreadQueue* destination;
  };
  // The number keeps work of the same time in order and apart.
  using Key = std::pair<std::chrono::steady_clock::time_point, std::uint64_t>;

  void run();
  void forget(const Key& key);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<Key, Entry> waiting_;
  std::uint64_t lastNumber_ = 0;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace platform::linux_desktop
