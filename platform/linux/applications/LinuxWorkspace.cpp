#include "platform/linux/applications/LinuxWorkspace.h"

#include <QAbstractEventDispatcher>
#include <algorithm>
#include <cassert>
#include <chrono>
#include <utility>

#include "platform/linux/applications/AgentRoles.h"
#include "platform/linux/intent/ProcessStarts.h"
#include "platform/linux/x11/FrontmostOnThread.h"
#include "platform/linux/x11/WindowManager.h"
#include "platform/linux/x11/WindowProperties.h"
#include "platform/linux/x11/WindowStamps.h"

namespace platform::linux_desktop {
namespace {

// How long windows may stay unmanaged while one window manager takes over from another.
constexpr auto longestTakeover = std::chrono::seconds(1);
// What started before that has nothing to do with what comes up now.
constexpr auto longestStart = std::chrono::seconds(20);
// So long a launcher may take from what the user did to the start that comes of it.
constexpr auto freshness = std::chrono::seconds(15);

void selectEvents(XcbConnection& connection, xcb_window_t window, std::uint32_t mask) {
  xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &mask);
}

bool movesFocus(const xcb_focus_in_event_t& event) {
  return event.mode != XCB_NOTIFY_MODE_GRAB && event.mode != XCB_NOTIFY_MODE_UNGRAB &&
         event.detail != XCB_NOTIFY_DETAIL_POINTER;
}

}  // namespace

LinuxWorkspace::LinuxWorkspace(XcbConnection& connection, TaskServices& tasks, ActivationDesk& desk,
                               InstalledApplications& installed, const URLOpener& opener,
                               std::string applicationIdentifier)
    : connection_(connection),
      tasks_(tasks),
      desk_(desk),
      installed_(installed),
      opener_(opener),
      events_(connection),
      owners_(connection),
      naming_(connection, std::move(applicationIdentifier)),
      registry_(*this),
      return_(connection, events_, owners_, tasks, desk, [this](pid_t process) { return windowsOf(process); }),
      readable_(connection.fileDescriptor(), QSocketNotifier::Read) {
  desk_.returnUnderWay().setEndHandler([this] { tasks_.runOnMainThread([this] { updateFrontmost(); }); });
  selectEvents(connection_, connection_.root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
  watchWindowManager();
  updateApplications();
  updateFrontmost();
  QObject::connect(&readable_, &QSocketNotifier::activated, &readable_, [this] { handleEvents(); });
  // Events that arrived along with a reply have been read already: the descriptor tells nothing of them.
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &readable_,
                   [this] { handleEvents(); });
}

LinuxWorkspace::~LinuxWorkspace() {
  desk_.returnUnderWay().setEndHandler(nullptr);
}

std::optional<NSRunningApplication> LinuxWorkspace::frontmostApplication() {
  if (const auto* onThread = FrontmostOnThread::current()) {
    if (!onThread->process()) return std::nullopt;
    return NSRunningApplication(registry_.recordOf(*onThread->process()));
  }
  if (tasks_.isMainThread()) {
    const Front now = front();
    if (!now.process) return std::nullopt;
    return namedApplication(now);
  }
  const auto process = registry_.frontmost();
  if (!process) return std::nullopt;
  return NSRunningApplication(registry_.recordOf(*process));
}

std::vector<NSRunningApplication> LinuxWorkspace::runningApplications() {
  assert(tasks_.isMainThread());
  std::vector<NSRunningApplication> applications;
  for (const auto& [process, windows] : windows_) applications.emplace_back(registry_.recordOf(process));
  return applications;
}

bool LinuxWorkspace::openURL(const std::string& url) {
  assert(tasks_.isMainThread());
  return opener_.open(url);
}

std::optional<std::filesystem::path> LinuxWorkspace::URLForApplicationWithBundleIdentifier(
    const std::string& identifier) {
  assert(tasks_.isMainThread());
  return installed_.locationOf(identifier);
}

std::vector<std::filesystem::path> LinuxWorkspace::installedApplications() {
  assert(tasks_.isMainThread());
  return installed_.locations();
}

std::string LinuxWorkspace::iconForFile(const std::filesystem::path& location) {
  assert(tasks_.isMainThread());
  return InstalledApplications::iconOf(location);
}

void LinuxWorkspace::judgeStart(const Activation& start, const std::function<void(bool isFresh)>& then) {
  assert(tasks_.isMainThread());
  const xcb_timestamp_t now = events_.serverTime();
  const bool isFresh = std::ranges::any_of(
      start.stamps, [now](xcb_timestamp_t stamp) { return std::chrono::milliseconds(now - stamp) <= freshness; });
  desk_.submit(start, [then, isFresh] { then(isFresh); });
}

bool LinuxWorkspace::activate(pid_t process) {
  assert(tasks_.isMainThread());
  return return_.begin(process, told_);
}

// Until there is nothing more: answers to our own questions bring events along that nothing would wake us for.
void LinuxWorkspace::handleEvents() {
  for (;;) {
    News news;
    bool isEmpty = true;
    while (const auto event = events_.next()) {
      note(*event, news);
      isEmpty = false;
    }
    if (connection_.isLost()) {
      reportLostConnection();
      return;
    }
    if (isEmpty) break;
    if (news.workspace) return_.noteWorkspace();
    if (news.windowManager) watchWindowManager();
    if (news.windowManager || news.clients) updateApplications();
    if (news.windowManager || news.clients || news.focus) updateFrontmost();
    if (news.windowManager && onWindowManagerChanged_) onWindowManagerChanged_();
  }
  xcb_flush(connection_);
}

void LinuxWorkspace::note(const xcb_generic_event_t& event, News& news) const {
  switch (event.response_type & 0x7F) {
    case XCB_PROPERTY_NOTIFY: {
      const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      if (change.window != connection_.root()) return;
      news.clients |= change.atom == connection_.atom("_NET_CLIENT_LIST");
      news.focus |= change.atom == connection_.atom("_NET_ACTIVE_WINDOW");
      news.workspace |= change.atom == connection_.atom("_NET_CURRENT_DESKTOP");
      news.windowManager |= change.atom == connection_.atom("_NET_SUPPORTING_WM_CHECK") ||
                            change.atom == connection_.atom("_NET_SUPPORTED");
      return;
    }
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
      news.focus |= movesFocus(reinterpret_cast<const xcb_focus_in_event_t&>(event));
      return;
    case XCB_DESTROY_NOTIFY:
      news.windowManager |= reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == windowManager_;
      return;
    default:
      return;
  }
}

void LinuxWorkspace::reportLostConnection() {
  if (isLost_) return;
  isLost_ = true;
  readable_.setEnabled(false);
  if (onConnectionLost_) onConnectionLost_();
}

void LinuxWorkspace::watchWindowManager() {
  const xcb_window_t before = std::exchange(windowManager_, windowManagerCheckWindow(connection_));
  if (windowManager_ != before) settling_.clear();  // a new one has all the time for its takeover
  if (windowManager_ != XCB_WINDOW_NONE) selectEvents(connection_, windowManager_, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
}

// A window keeps its owner, so that only the new ones cost questions.
void LinuxWorkspace::updateClients() {
  owners_.forgetAll();
  auto known = std::exchange(clients_, {});
  for (const xcb_window_t client : clientWindows(connection_)) {
    if (auto entry = known.extract(client)) {
      clients_.insert(std::move(entry));
    } else {
      selectEvents(connection_, client, XCB_EVENT_MASK_FOCUS_CHANGE);
      clients_.emplace(client, owners_.ownerOf(client));
    }
  }
}

void LinuxWorkspace::updateApplications(std::optional<pid_t> settled) {
  updateClients();
  WindowsByProcess current;
  for (const auto& [client, owner] : clients_) {
    if (owner) current[*owner].push_back(client);
  }
  if (connection_.isLost()) return;
  keepUnmanaged(current, settled);

  const WindowsByProcess previous = std::exchange(windows_, std::move(current));
  const WindowsByProcess now = windows_;  // who is told of one change may cause the next
  for (const auto& [process, windows] : now) {
    if (!previous.contains(process)) launch(process, windows);
  }
  for (const auto& [process, windows] : previous) {
    if (!now.contains(process)) terminate(process);
  }
  std::vector<pid_t> kept;
  for (const auto& [process, windows] : windows_) kept.push_back(process);
  if (frontmost_) kept.push_back(*frontmost_);
  registry_.keepOnly(kept);
  return_.history().forgetUnless([this](pid_t process) { return registry_.find(process) != nullptr; });
}

// An application whose windows are still there may only be waiting for the next window manager to take them over: adds
// it to `current`. Without a window manager it waits as long as that takes.
void LinuxWorkspace::keepUnmanaged(WindowsByProcess& current, std::optional<pid_t> settled) {
  WindowsByProcess kept;
  for (const auto& [process, windows] : windows_) {
    if (current.contains(process) || process == settled) continue;
    if (std::any_of(windows.begin(), windows.end(),
                    [this](xcb_window_t window) { return windowExists(connection_, window); })) {
      kept.emplace(process, windows);
    }
  }
  std::erase_if(settling_, [&](const auto& entry) { return !kept.contains(entry.first); });
  for (const auto& [process, windows] : kept) {
    // Not put off by changes to come, which may never end.
    if (windowManager_ == XCB_WINDOW_NONE || settling_.contains(process)) continue;
    settling_[process] = tasks_.runOnMainThreadAfter(longestTakeover, [this, process = process] {
      updateApplications(process);
      updateFrontmost();
    });
  }
  current.merge(kept);
}

void LinuxWorkspace::launch(pid_t process, const std::vector<xcb_window_t>& windows) {
  const auto record = registry_.recordOf(process);
  if (!record->bundleIdentifier()) record->setNames(naming_.namesOf(process, ownMainWindow(windows)));
  if (isLauncher(process)) {
    launchers_.insert(process);
    desk_.setLaunchers(launchers_);
  }
  post(NSWorkspaceDidLaunchApplicationNotification, NSRunningApplication(record));
}

std::vector<xcb_window_t> LinuxWorkspace::windowsOf(pid_t process) const {
  const auto known = windows_.find(process);
  return known == windows_.end() ? std::vector<xcb_window_t>() : known->second;
}

void LinuxWorkspace::terminate(pid_t process) {
  const auto record = registry_.recordOf(process);
  registry_.terminate(process);
  if (launchers_.erase(process) > 0) desk_.setLaunchers(launchers_);
  post(NSWorkspaceDidTerminateApplicationNotification, NSRunningApplication(record));
}

void LinuxWorkspace::updateFrontmost() {
  const Front now = front();
  if (connection_.isLost()) return;
  const bool isKnown = now.process == frontmost_ || return_.isUndoing(now.process);
  const bool isActivation = now.process && !isKnown;
  const Activation activation = isActivation ? activationOf(now) : Activation();
  return_.noteFront(now);
  if (now.process) {
    // A window manager may give a window the focus before it lists it.
    if (windows_.emplace(*now.process, std::vector{now.window}).second) launch(*now.process, {now.window});
  }
  if (isKnown) return;
  frontmost_ = now.process;
  registry_.setFrontmost(now.process);
  if (!isActivation) return;
  desk_.submit(activation, [this, application = namedApplication(now)] {
    told_ = application.processIdentifier();
    post(NSWorkspaceDidActivateApplicationNotification, application);
  });
}

Activation LinuxWorkspace::activationOf(const Front& front) {
  Activation activation;
  activation.window = front.window;
  activation.previousWindow = return_.history().predecessorOf(front.window, std::chrono::steady_clock::now());
  activation.isReturnUnderWay = return_.isAwaitedInsteadOf(*front.process);
  activation.isBroughtBack = return_.isBringingBack(*front.process);
  const auto last = return_.history().lastOf(*front.process);
  if (!last) {
    activation.starts = startsOf(*front.process, std::chrono::steady_clock::now() - longestStart);
  }
  const bool isNewWindow = !last || last->window != front.window;
  if (isNewWindow && front.window != XCB_WINDOW_NONE) activation.stamps = stampsOf(connection_, front.window);
  return activation;
}

Front LinuxWorkspace::front() {
  return frontOf(connection_, owners_);
}

// The window that tells most about its application: not one that another program shows on its behalf.
xcb_window_t LinuxWorkspace::ownMainWindow(const std::vector<xcb_window_t>& windows) {
  const auto main = std::find_if(windows.begin(), windows.end(), [this](xcb_window_t window) {
    return !numberOf(connection_, window, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW);
  });
  return main == windows.end() ? windows.front() : *main;
}

// An application may come to the front before it is in the list of those that run.
NSRunningApplication LinuxWorkspace::namedApplication(const Front& front) {
  const auto record = registry_.recordOf(*front.process);
  if (!record->bundleIdentifier()) record->setNames(naming_.namesOf(*front.process, front.window));
  return NSRunningApplication(record);
}

void LinuxWorkspace::post(const char* name, const NSRunningApplication& application) {
  notificationCenter_.postNotification({name, {{NSWorkspaceApplicationKey, application}}});
}

}  // namespace platform::linux_desktop
