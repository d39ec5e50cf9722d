#include "platform/linux/applications/FocusHistory.h"

#include <utility>

namespace platform::linux_desktop {
namespace {

// What belongs together comes within this time: the other workspace, the window that comes into view there, and the
// loss of the one before.
constexpr auto together = std::chrono::milliseconds(250);
constexpr auto fleeting = std::chrono::milliseconds(250);

}  // namespace

void FocusHistory::noteFront(const Front& front, Moment now) {
  if (const auto before = lasts_.find(front_.process.value_or(0)); before != lasts_.end()) before->second.left = now;
  if (front.process) lasts_[*front.process] = {front, now};
  if (front.process != front_.process) frontSince_ = now;
  front_ = front;
  if (front.window == XCB_WINDOW_NONE || front.window == focused_) return;
  if (now - focusedSince_ >= fleeting) settled_ = focused_;
  focused_ = front.window;
  focusedSince_ = now;
}

xcb_window_t FocusHistory::predecessorOf(xcb_window_t window, Moment now) const {
  return window == settled_ || now - focusedSince_ >= fleeting ? focused_ : settled_;
}

void FocusHistory::noteWorkspace(std::optional<std::uint32_t> workspace, Moment now) {
  if (workspace == workspace_) return;
  switch_ = Switch{std::exchange(workspace_, workspace), now};
}

void FocusHistory::forgetUnless(const std::function<bool(pid_t)>& isKept) {
  std::erase_if(lasts_, [&](const auto& entry) { return !isKept(entry.first); });
}

std::optional<Front> FocusHistory::lastOf(pid_t process) const {
  const auto found = lasts_.find(process);
  return found == lasts_.end() ? std::nullopt : std::optional(found->second.front);
}

bool FocusHistory::lostItToSwitchFrom(pid_t process, std::optional<std::uint32_t> workspace) const {
  const auto found = lasts_.find(process);
  if (found == lasts_.end() || !switch_ || !workspace || switch_->from != workspace) return false;
  const auto isTogether = [&](Moment moment) {
    return moment >= switch_->when - together && moment <= switch_->when + together;
  };
  return isTogether(found->second.left) && front_.process && front_.process != process && isTogether(frontSince_);
}

}  // namespace platform::linux_desktop
