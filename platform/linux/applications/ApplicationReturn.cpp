#include "platform/linux/applications/ApplicationReturn.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <utility>

#include "platform/linux/x11/WindowManager.h"
#include "platform/linux/x11/WindowProperties.h"
#include "platform/linux/x11/WindowVisibility.h"

namespace platform::linux_desktop {
namespace {

constexpr auto lookInterval = std::chrono::milliseconds(100);
constexpr int looks = 5;
// Who takes the place so soon again is not through with the same attempt.
constexpr auto oneGo = std::chrono::milliseconds(50);
constexpr auto askInterval = std::chrono::milliseconds(25);
constexpr std::uint32_t mostWindows = 16384;

bool contains(const std::vector<xcb_window_t>& windows, xcb_window_t window) {
  return std::find(windows.begin(), windows.end(), window) != windows.end();
}

}  // namespace

ApplicationReturn::ApplicationReturn(XcbConnection& connection, XcbEvents& events, WindowOwners& owners,
                                     TaskServices& tasks, ActivationDesk& desk, WindowsOf windowsOf)
    : connection_(connection),
      events_(events),
      owners_(owners),
      tasks_(tasks),
      desk_(desk),
      windowsOf_(std::move(windowsOf)),
      attention_(connection) {
  noteWorkspace();
}

bool ApplicationReturn::begin(pid_t process, std::optional<pid_t> intruder) {
  assert(tasks_.isMainThread());
  underWay_.end();
  nextLook_.cancel();
  const auto target = targetFor(process);
  if (!target || !ask(*target, false)) return false;
  process_ = process;
  began_ = Clock::now();
  intruder_ = intruder == process ? std::nullopt : intruder;
  const auto last = intruder_ ? history_.lastOf(*intruder_) : std::nullopt;
  intrudersWindow_ = last ? last->window : xcb_window_t{XCB_WINDOW_NONE};
  wasSeen_ = false;
  backSince_.reset();
  isUndoing_ = false;
  owesMark_ = intruder_.has_value();
  looksLeft_ = looks;
  underWay_.begin({process, target->front.focus, intruder_});
  lookLater();
  return true;
}

bool ApplicationReturn::isUndoing(std::optional<pid_t> process) const {
  if (!process || process != intruder_ || !underWay_.goal()) return false;
  return backSince_ ? Clock::now() - *backSince_ < oneGo : isUndoing_;
}

bool ApplicationReturn::isAwaitedInsteadOf(pid_t process) const {
  // The window that came back may go at once, to another workspace or to be an icon. What was typed for it and is held
  // must not go to whom it was taken back from because the focus falls to that one again.
  if (process == intruder_ && Clock::now() - began_ < looks * lookInterval) return true;
  return !wasSeen_ && process != process_ && underWay_.goal();
}

bool ApplicationReturn::isBringingBack(pid_t process) const {
  return process == process_ && underWay_.goal();
}

void ApplicationReturn::noteFront(const Front& front) {
  history_.noteFront(front, Clock::now());
  attention_.noteFront(front.window);
  if (!front.process) return;
  const bool isUnderWay = underWay_.goal().has_value();
  if (front.process == process_) {
    if (!backSince_) backSince_ = Clock::now();
    wasSeen_ = true;
    // While it may still change, look() is soon enough.
    if (!isUnderWay) payMark();
    return;
  }
  isUndoing_ = isUndoing(front.process);
  backSince_.reset();
  owesMark_ = front.process == intruder_ ? isUnderWay : owesMark_;
  if (front.process != intruder_) underWay_.end();
  if (isUndoing_ && Clock::now() - lastAsked_ >= askInterval) {
    // The user may just have clicked its window: the tap tells that first, and the return ends.
    desk_.submit(std::nullopt, [this] {
      if (underWay_.goal()) askAgain();
    });
  }
}

void ApplicationReturn::noteWorkspace() {
  history_.noteWorkspace(currentWorkspace(connection_), Clock::now());
}

std::optional<ApplicationReturn::Target> ApplicationReturn::targetFor(pid_t process) {
  auto windows = windowsOf_(process);
  if (auto last = history_.lastOf(process); last && hasWindow(process, last->window, windows)) {
    if (!isViewable(connection_, last->focus)) last->focus = last->window;
    const auto workspace = workspaceOf(connection_, last->window);
    if (isOnCurrentWorkspace(connection_, last->window)) return Target{*last, std::nullopt};
    if (history_.lostItToSwitchFrom(process, workspace)) return Target{*last, workspace};
  }
  auto stacked = numbersOf(connection_, connection_.root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW, mostWindows);
  if (stacked) std::erase_if(*stacked, [&](xcb_window_t window) { return !contains(windows, window); });
  if (stacked && !stacked->empty()) windows = std::move(*stacked);
  const auto uppermost = std::find_if(windows.rbegin(), windows.rend(),
                                      [this](xcb_window_t window) { return isVisible(connection_, window); });
  if (uppermost == windows.rend()) return std::nullopt;
  return Target{{process, *uppermost, *uppermost}, std::nullopt};
}

bool ApplicationReturn::hasWindow(pid_t process, xcb_window_t window, const std::vector<xcb_window_t>& windows) {
  if (!windowExists(connection_, window) || owners_.ownerOf(window) != process) return false;
  // One that was not listed yet when it had the focus may not be so now either.
  return (contains(windows, window) || isViewable(connection_, window)) && !isMinimised(connection_, window);
}

bool ApplicationReturn::ask(const Target& target, bool insists) {
  const xcb_window_t window = target.front.window;
  lastAsked_ = Clock::now();
  const xcb_timestamp_t time = events_.serverTime();
  if (time == XCB_CURRENT_TIME) return false;
  if (windowManagerActivates(connection_)) {
    if (target.workspace) requestWorkspace(connection_, *target.workspace, time);
    requestActivation(connection_, window, time);
    // A window manager that has not noticed yet that the focus was taken believes the window active, and does nothing.
    if (insists || numberOf(connection_, connection_.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW) == window) {
      xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, target.front.focus, time);
      xcb_flush(connection_);
    }
  } else {
    focusWithoutWindowManager(connection_, window, time);
  }
  return !connection_.isLost();
}

void ApplicationReturn::askAgain() {
  const auto target = targetFor(process_);
  if (!target || !ask(*target, true)) underWay_.end();
}

void ApplicationReturn::look() {
  const auto goal = underWay_.goal();
  const Front now = frontOf(connection_, owners_);
  if (connection_.isLost()) return;
  const bool isBack = now.process == process_;
  wasSeen_ |= isBack;
  if (wasSeen_ && now.process != intruder_) payMark();
  if (!goal) return;
  // The last one does not ask: whoever waits for the return gives it up now. With nobody in front, a window manager may
  // be at work, or one may take over from another.
  const bool isByAThird = now.process && !isBack && now.process != intruder_;
  if (isByAThird || --looksLeft_ == 0) return underWay_.end();
  // At once: whoever waits looks next, and one that insists is soon back.
  if (now.process && now.process == intruder_) askAgain();
  if (underWay_.goal()) lookLater();
}

void ApplicationReturn::payMark() {
  if (std::exchange(owesMark_, false)) attention_.demandFor(intrudersWindow_);
}

void ApplicationReturn::lookLater() {
  nextLook_ = tasks_.runOnMainThreadAfter(lookInterval, [this] { look(); });
}

}  // namespace platform::linux_desktop
