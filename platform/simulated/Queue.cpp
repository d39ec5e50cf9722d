#include "platform/simulated/Queue.h"

#include <utility>

namespace platform::simulated {

Queue::Queue(std::weak_ptr<Executor> executor, std::shared_ptr<QueueLane> lane)
    : executor_(std::move(executor)), lane_(std::move(lane)) {}

Queue::~Queue() {
  const auto executor = executor_.lock();
  if (!executor || executor->isShutDown()) return;
  if (isOwnThread()) failLoudly("queue " + lane_->label + " is destroyed by its own work, for which it would wait");
  executor->removeQueue(lane_);
}

void Queue::sync(const Work& work) {
  const auto executor = executor_.lock();
  if (!executor || executor->isShutDown()) return;
  if (isOwnThread()) failLoudly("sync() from the queue's own work: " + lane_->label);
  const auto item = executor->add(lane_->lane, {}, [&work] { work(); });
  executor->waitUntil([item] { return item->isOver(); },
                      "sync() waits for earlier work of queue " + lane_->label + " that does not end");
}

void Queue::async(Work work) {
  const auto executor = executor_.lock();
  if (executor && !executor->isShutDown()) executor->add(lane_->lane, {}, std::move(work));
}

bool Queue::isOwnThread() const {
  return lane_->worker && Worker::current() == lane_->worker.get();
}

}  // namespace platform::simulated
