#include "platform/linux/keyboard/HeldKeys.h"

#include <sys/eventfd.h>

#include <utility>

namespace platform::linux_desktop {

HeldKeyInbox::HeldKeyInbox() : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void HeldKeyInbox::put(const Message& message) {
  const std::lock_guard lock(mutex_);
  if (isClosed_) return;
  messages_.push_back(message);
  hasMessages_.store(true, std::memory_order_relaxed);
  eventfd_write(wake_.get(), 1);
}

std::vector<HeldKeyInbox::Message> HeldKeyInbox::takeAll() {
  if (!hasMessages_.load(std::memory_order_relaxed)) return {};
  const std::lock_guard lock(mutex_);
  eventfd_t count = 0;
  eventfd_read(wake_.get(), &count);
  hasMessages_.store(false, std::memory_order_relaxed);
  return std::exchange(messages_, {});
}

void HeldKeyInbox::close() {
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  messages_.clear();
}

HeldKey::~HeldKey() {
  if (inbox_) inbox_->put({ordinal_, false});
}

void HeldKey::post() {
  if (const auto inbox = std::exchange(inbox_, nullptr)) inbox->put({ordinal_, true});
}

std::unique_ptr<CGEvent> TapEvent::copy() const {
  if (!stroke_ || wasCopied_) return nullptr;
  wasCopied_ = true;
  return std::make_unique<HeldKey>(*stroke_, ordinal_, *inbox_);
}

}  // namespace platform::linux_desktop
