// Virtual time, and whose turn it is.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/Desktop.h"
#include "platform/simulated/PendingWork.h"
#include "platform/simulated/Worker.h"

namespace platform::simulated {

// What moves on the desktop besides work that was handed over. Called on the main thread, which has the baton; each
// answers whether it moved anything.
struct Movers {
  Condition input;
  // Main-thread work of the program, so only when that may run.
  Condition mainRunLoop;
  // Asked when nothing else can move.
  Condition stuckInput;
};

// The work of one dispatch queue, and its thread.
struct QueueLane {
  QueueLane(Baton& baton, std::string name) : label(std::move(name)), worker(std::make_unique<Worker>(baton)) {}

  std::string label;
  WorkLane lane;
  std::unique_ptr<Worker> worker;  // null once the desktop is gone
};

class Executor final : public TaskServices, public std::enable_shared_from_this<Executor> {
 public:
  // The creating thread is the main thread.
  Executor();
  ~Executor() override;

  void setMovers(Movers movers) { movers_ = std::move(movers); }
  // Unwinds the workers' jobs, drops all work and ends the threads. Nothing runs afterwards.
  void shutDown();
  bool isShutDown() const { return isShutDown_; }

  void settle();
  void advance(std::chrono::nanoseconds duration);
  void moveWallClock(std::chrono::nanoseconds distance) { wallClockOffset_ += distance.count(); }

  // Worker or main thread. Gives the others their turns, time passing where nothing else moves, until the condition
  // holds. Main-thread work of the program does not run meanwhile. `what` is said if that never happens.
  void waitUntil(const Condition& condition, const std::string& what);
  // Worker or main thread. The same, until `deadline` at the latest, in uptime nanoseconds.
  void waitUntilOrDeadline(const Condition& condition, std::uint64_t deadline);
  // Any thread. Runs the work at once if this is the main thread outside of the program's own work, else in a
  // main-thread task.
  void runAsMainThreadWork(Work work);
  // Worker. Runs the work and everything due on the main thread before it returns.
  void runOnMainThreadMeanwhile(Work work);

  // Any thread. Hands work to a lane, `delay` from now.
  std::shared_ptr<WorkItem> add(WorkLane& lane, std::chrono::nanoseconds delay, Work work);
  // Worker or main thread. The queue's thread ends once its work is done.
  void removeQueue(const std::shared_ptr<QueueLane>& queue);

  // TaskServices
  Date dateNow() override;
  std::uint64_t uptimeNanoseconds() override { return now_; }
  void runOnMainThread(Work work) override;
  ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work) override;
  void runInBackground(QualityOfService quality, Work work) override;
  ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds delay, Work work) override;
  bool isMainThread() override { return std::this_thread::get_id() == mainThread_; }
  void sleepForTimeInterval(double seconds) override;
  std::unique_ptr<DispatchQueue> createQueue(const std::string& label, QualityOfService quality) override;

 private:
  class CancellableWork;

  enum class MainThreadWork : bool { withheld, runs };

  ScheduledTask handleOf(std::shared_ptr<WorkItem> item);
  void cancel(WorkItem& item);

  // Gives turns until the condition holds or time would pass `until`; answers whether it holds.
  bool run(MainThreadWork mainThreadWork, const Condition& condition, std::uint64_t until);
  bool step(MainThreadWork mainThreadWork);
  bool resumeWorker();
  bool startWork(MainThreadWork mainThreadWork);
  void startOnMainThread();
  Worker& idleBackgroundWorker();
  std::vector<Worker*> workers() const;
  std::optional<std::uint64_t> nextMoment(MainThreadWork mainThreadWork) const;
  void assertAtTopLevel(const char* verb) const;

  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::atomic<std::uint64_t> now_;  // uptime nanoseconds
  std::atomic<std::int64_t> wallClockOffset_;
  std::atomic<std::uint64_t> lastSequence_{0};
  std::atomic<bool> isShutDown_{false};
  Movers movers_;
  Baton baton_;
  // Main-thread work of the program that is under way, one inside the other.
  int mainThreadWorkDepth_ = 0;
  WorkLane mainLane_;
  WorkLane backgroundLane_;
  std::vector<std::unique_ptr<Worker>> backgroundWorkers_;
  std::vector<std::shared_ptr<QueueLane>> queues_;
};

}  // namespace platform::simulated
