// One input event of the simulated desktop.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/CGEvent.h"

namespace platform::simulated {

class InputEvent final : public CGEvent {
 public:
  struct Contents {
    CGEventType type = 0;
    char key = 0;
    CGEventFlags flags = 0;
    CGPoint location;
  };

  // `origin` numbers what the person did, in order; copies keep it.
  InputEvent(Contents contents, std::uint64_t origin, bool copyable)
      : contents_(contents), origin_(origin), isCopyable_(copyable) {}

  const Contents& contents() const { return contents_; }
  std::uint64_t origin() const { return origin_; }

  // Becomes true when the event's way has ended.
  const std::shared_ptr<std::atomic<bool>>& ended() const { return ended_; }

  // CGEvent
  CGEventFlags flags() const override { return contents_.flags; }
  CGPoint location() const override { return contents_.location; }
  std::unique_ptr<CGEvent> copy() const override {
    return isCopyable_ ? std::make_unique<InputEvent>(contents_, origin_, isCopyable_) : nullptr;
  }

 private:
  Contents contents_;
  std::uint64_t origin_;
  bool isCopyable_;
  std::shared_ptr<std::atomic<bool>> ended_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace platform::simulated
