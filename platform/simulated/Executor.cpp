#include "platform/simulated/Executor.h"

#include <algorithm>
#include <utility>

#include "platform/simulated/Queue.h"

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

// Neither clock starts at zero, and they start at different times: nothing can take the one for the other.
constexpr std::uint64_t uptimeAtStart = 1'000'000'000'000;            // 1000 s
constexpr std::int64_t wallClockAtStart = 1'772'442'000'000'000'000;  // 2026-03-02 09:00:00 UTC

// How long, on virtual time, anybody waits for what never comes.
constexpr std::chrono::nanoseconds patience = 60s;
// How much may happen at one moment.
constexpr int stepsPerMoment = 100'000;

std::chrono::nanoseconds toNanoseconds(double seconds) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
}

class Nested {
 public:
  explicit Nested(int& depth) : depth_(depth) { ++depth_; }
  Nested(const Nested&) = delete;
  Nested& operator=(const Nested&) = delete;
  ~Nested() { --depth_; }

 private:
  int& depth_;
};

}  // namespace

class Executor::CancellableWork final : public ScheduledTask::Pending {
 public:
  CancellableWork(std::weak_ptr<Executor> executor, std::shared_ptr<WorkItem> item)
      : executor_(std::move(executor)), item_(std::move(item)) {}

  void cancel() noexcept override {
    if (const auto executor = executor_.lock()) executor->cancel(*item_);
  }

 private:
  std::weak_ptr<Executor> executor_;
  std::shared_ptr<WorkItem> item_;
};

Executor::Executor()
    : now_(uptimeAtStart), wallClockOffset_(wallClockAtStart - static_cast<std::int64_t>(uptimeAtStart)) {}

Executor::~Executor() = default;

void Executor::shutDown() {
  isShutDown_ = true;
  for (int turns = 0; resumeWorker(); ++turns) {
    if (turns == stepsPerMoment) failLoudly("a thread goes on although the desktop is gone");
  }
  // What is dropped may hand over more.
  for (bool dropped = true; dropped;) {
    dropped = mainLane_.clear();
    dropped = backgroundLane_.clear() || dropped;
    for (const auto& queue : std::vector(queues_)) dropped = queue->lane.clear() || dropped;
  }
  for (const auto& queue : queues_) queue->worker.reset();
  queues_.clear();
  backgroundWorkers_.clear();
}

void Executor::settle() {
  assertAtTopLevel("settle()");
  run(
      MainThreadWork::runs, [] { return false; }, now_);
}

void Executor::advance(std::chrono::nanoseconds duration) {
  assertAtTopLevel("advance()");
  run(
      MainThreadWork::runs, [] { return false; }, now_ + static_cast<std::uint64_t>(duration.count()));
}

void Executor::waitUntil(const Condition& condition, const std::string& what) {
  if (Worker* worker = Worker::current()) {
    if (!condition()) worker->pause([this, condition] { return isShutDown_ || condition(); }, std::nullopt);
    return;
  }
  if (!isMainThread()) failLoudly("a thread that the desktop has not made wants to wait");
  const bool holds = run(
      MainThreadWork::withheld, [&] { return isShutDown_ || condition(); }, now_ + std::uint64_t(patience.count()));
  if (!holds) failLoudly("deadlock: " + what);
}

void Executor::waitUntilOrDeadline(const Condition& condition, std::uint64_t deadline) {
  const Condition mayGoOn = [this, condition, deadline] { return isShutDown_ || now_ >= deadline || condition(); };
  if (mayGoOn()) return;
  if (Worker* worker = Worker::current()) {
    worker->pause(mayGoOn, deadline);
  } else if (isMainThread()) {
    run(MainThreadWork::withheld, mayGoOn, deadline);
  } else {
    failLoudly("a thread that the desktop has not made wants to wait");
  }
}

void Executor::runAsMainThreadWork(Work work) {
  if (!isMainThread() || mainThreadWorkDepth_ > 0) {
    runOnMainThread(std::move(work));
    return;
  }
  const Nested nested(mainThreadWorkDepth_);
  work();
}

void Executor::runOnMainThreadMeanwhile(Work work) {
  const auto item = add(mainLane_, {}, std::move(work));
  waitUntil([this, item] { return item->isOver() && !mainLane_.firstDue(now_); }, "");
}

std::shared_ptr<WorkItem> Executor::add(WorkLane& lane, std::chrono::nanoseconds delay, Work work) {
  auto item = std::make_shared<WorkItem>(std::move(work));
  const std::uint64_t due = now_ + static_cast<std::uint64_t>(std::max(delay, 0ns).count());
  lane.add({due, ++lastSequence_}, item);
  return item;
}

void Executor::removeQueue(const std::shared_ptr<QueueLane>& queue) {
  waitUntil([queue] { return queue->lane.isEmpty() && queue->worker->isIdle(); },
            "queue " + queue->label + " is destroyed while its work does not end");
  if (isShutDown_) return;  // which ends the thread itself
  std::erase(queues_, queue);
  queue->worker.reset();
}

Date Executor::dateNow() {
  const std::chrono::nanoseconds sinceEpoch(wallClockOffset_ + static_cast<std::int64_t>(now_.load()));
  return Date(std::chrono::duration_cast<Date::duration>(sinceEpoch));
}

void Executor::runOnMainThread(Work work) {
  add(mainLane_, {}, std::move(work));
}

ScheduledTask Executor::runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work) {
  return handleOf(add(mainLane_, delay, std::move(work)));
}

void Executor::runInBackground(QualityOfService, Work work) {
  add(backgroundLane_, {}, std::move(work));
}

ScheduledTask Executor::runInBackgroundAfter(std::chrono::nanoseconds delay, Work work) {
  return handleOf(add(backgroundLane_, delay, std::move(work)));
}

void Executor::sleepForTimeInterval(double seconds) {
  const auto duration = static_cast<std::uint64_t>(std::max(toNanoseconds(seconds), 0ns).count());
  waitUntilOrDeadline([] { return false; }, now_ + duration);
}

std::unique_ptr<DispatchQueue> Executor::createQueue(const std::string& label, QualityOfService) {
  auto lane = std::make_shared<QueueLane>(baton_, label);
  queues_.push_back(lane);
  return std::make_unique<Queue>(weak_from_this(), std::move(lane));
}

ScheduledTask Executor::handleOf(std::shared_ptr<WorkItem> item) {
  return ScheduledTask(std::make_unique<CancellableWork>(weak_from_this(), std::move(item)));
}

void Executor::cancel(WorkItem& item) {
  if (item.cancel()) return;
  if (Worker::current() || isMainThread()) {
    waitUntil([&item] { return item.isOver(); }, "a cancellation waits for work that does not end");
  } else {
    item.waitUntilOver();
  }
}

bool Executor::run(MainThreadWork mainThreadWork, const Condition& condition, std::uint64_t until) {
  for (int steps = 0; !condition();) {
    if (step(mainThreadWork)) {
      if (++steps == stepsPerMoment) failLoudly("work goes on and on while time stands still");
      continue;
    }
    const auto next = nextMoment(mainThreadWork);
    if (!next || *next > until) {
      now_ = std::max(now_.load(), until);
      return condition();
    }
    now_ = *next;
    steps = 0;
  }
  return true;
}

bool Executor::step(MainThreadWork mainThreadWork) {
  if (resumeWorker() || movers_.input()) return true;
  if (mainThreadWork == MainThreadWork::runs) {
    const Nested nested(mainThreadWorkDepth_);
    if (movers_.mainRunLoop()) return true;
  }
  return startWork(mainThreadWork) || movers_.stuckInput();
}

bool Executor::resumeWorker() {
  const auto all = workers();
  const auto ready = std::ranges::find_if(all, [](const Worker* w) { return w->isPaused() && w->mayGoOn(); });
  if (ready == all.end()) return false;
  (*ready)->resume();
  return true;
}

// The oldest due work goes first, whatever thread it is for. While the main thread waits for a queue, though, queues go
// before background work: what was handed to a queue should not depend on what else lies about.
bool Executor::startWork(MainThreadWork mainThreadWork) {
  struct Candidate {
    WorkKey key;
    std::function<void()> start;
  };
  std::optional<Candidate> oldest;
  const auto consider = [&](WorkLane& lane, std::function<void()> start) {
    const auto key = lane.firstDue(now_);
    if (key && (!oldest || *key < oldest->key)) oldest = Candidate{*key, std::move(start)};
  };

  for (const auto& queue : queues_) {
    if (!queue->worker->isIdle()) continue;
    consider(queue->lane, [queue] { queue->worker->start([item = queue->lane.takeFirst()] { item->act(); }); });
  }
  if (mainThreadWork == MainThreadWork::runs) consider(mainLane_, [this] { startOnMainThread(); });
  if (mainThreadWork == MainThreadWork::runs || !oldest) {
    consider(backgroundLane_,
             [this] { idleBackgroundWorker().start([item = backgroundLane_.takeFirst()] { item->act(); }); });
  }
  if (oldest) oldest->start();
  return oldest.has_value();
}

void Executor::startOnMainThread() {
  const Nested nested(mainThreadWorkDepth_);
  mainLane_.takeFirst()->act();
}

Worker& Executor::idleBackgroundWorker() {
  const auto idle =
      std::ranges::find_if(backgroundWorkers_, [](const std::unique_ptr<Worker>& worker) { return worker->isIdle(); });
  if (idle != backgroundWorkers_.end()) return **idle;
  return *backgroundWorkers_.emplace_back(std::make_unique<Worker>(baton_));
}

std::vector<Worker*> Executor::workers() const {
  std::vector<Worker*> all;
  for (const auto& queue : queues_) all.push_back(queue->worker.get());
  for (const auto& worker : backgroundWorkers_) all.push_back(worker.get());
  return all;
}

std::optional<std::uint64_t> Executor::nextMoment(MainThreadWork mainThreadWork) const {
  std::optional<std::uint64_t> earliest;
  const auto consider = [&](std::optional<std::uint64_t> moment) {
    if (moment && *moment > now_ && (!earliest || *moment < *earliest)) earliest = moment;
  };
  if (mainThreadWork == MainThreadWork::runs) consider(mainLane_.nextDueAfter(now_));
  consider(backgroundLane_.nextDueAfter(now_));
  for (const Worker* worker : workers()) {
    if (worker->isPaused()) consider(worker->deadline());
  }
  return earliest;
}

void Executor::assertAtTopLevel(const char* verb) const {
  if (std::this_thread::get_id() != mainThread_) failLoudly(std::string(verb) + " is for the main thread");
  if (mainThreadWorkDepth_ > 0) failLoudly(std::string(verb) + " called from inside the program's own work");
}

}  // namespace platform::simulated
