// Threads that do the work handed to them.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/Tasks.h"

namespace platform::linux_desktop {

// Names the calling thread for debuggers and process lists; what is too long for them is cut off.
void nameThisThread(const std::string& name);

// A queue of work and the threads that take from it, in order. With one thread, one piece of work follows the other.
class WorkerThreads {
 public:
  WorkerThreads(const std::string& name, std::size_t count);
  WorkerThreads(const WorkerThreads&) = delete;
  WorkerThreads& operator=(const WorkerThreads&) = delete;
  ~WorkerThreads() { finish(); }

  // Waits until all work is done, work that was added meanwhile included, and ends the threads. What is added later is
  // never done.
  void finish();

  // Any thread.
  void add(Work work);
  // True on one of the threads.
  bool isCurrent() const;

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Work> waiting_;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

// A serial queue with a thread of its own.
class SerialQueue final : public DispatchQueue {
 public:
  // The thread is named after the last part of the dotted label. For user-interactive work it goes before others.
  SerialQueue(const std::string& label, QualityOfService quality);

  void sync(const Work& work) override;
  void async(Work work) override;

 private:
  WorkerThreads thread_;
};

}  // namespace platform::linux_desktop
