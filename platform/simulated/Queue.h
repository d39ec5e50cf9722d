// A serial queue whose thread takes turns with the others.
#pragma once

#include <memory>
#include <string>

#include "platform/simulated/Executor.h"

namespace platform::simulated {

class Queue final : public DispatchQueue {
 public:
  Queue(std::weak_ptr<Executor> executor, std::shared_ptr<QueueLane> lane);
  ~Queue() override;

  void sync(const Work& work) override;
  void async(Work work) override;

 private:
  bool isOwnThread() const;

  // Gone once the desktop is.
  std::weak_ptr<Executor> executor_;
  std::shared_ptr<QueueLane> lane_;
};

}  // namespace platform::simulated
