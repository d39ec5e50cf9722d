#include "platform/simulated/SimulatedDesktop.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "platform/simulated/Accessibility.h"
#include "platform/simulated/Bundles.h"
#include "platform/simulated/Executor.h"
#include "platform/simulated/InputStream.h"
#include "platform/simulated/LogRecorder.h"
#include "platform/simulated/LoginItem.h"
#include "platform/simulated/RunLoopService.h"
#include "platform/simulated/Stores.h"
#include "platform/simulated/UserNotifications.h"
#include "platform/simulated/Workspace.h"

namespace platform::simulated {

SimulatedDesktop::SimulatedDesktop()
    : installed_(*this),
      executor_(std::make_shared<Executor>()),
      log_(std::make_unique<LogRecorder>()),
      defaults_(std::make_unique<Defaults>()),
      bundles_(std::make_unique<Bundles>()),
      files_(std::make_unique<Files>(*bundles_)),
      workspace_(std::make_shared<Workspace>(*executor_, *bundles_)),
      runLoops_(std::make_unique<RunLoopService>(*executor_)),
      input_(std::make_unique<InputStream>(*executor_, *runLoops_, *workspace_)),
      accessibility_(std::make_unique<Accessibility>(*executor_, *runLoops_)),
      userNotifications_(std::make_unique<UserNotifications>(*executor_)),
      loginItem_(std::make_unique<LoginItem>()) {
  runLoops_->setSourceOfTap([this](const CFMachPortRef& port) { return input_->sourceOf(port); });
  executor_->setMovers({[this] { return input_->move(); }, [this] { return runLoops_->performMainSources(); },
                        [this] { return input_->passOverStuckTap(); }});
}

SimulatedDesktop::~SimulatedDesktop() {
  executor_->shutDown();
}

void SimulatedDesktop::settle() {
  executor_->settle();
}
void SimulatedDesktop::advance(std::chrono::nanoseconds duration) {
  executor_->advance(duration);
}
void SimulatedDesktop::setWallClock(Date date) {
  executor_->moveWallClock(date - executor_->dateNow());
}

NSRunningApplication SimulatedDesktop::launch(const Application& application) {
  return workspace_->launch(application);
}
void SimulatedDesktop::announceLaunch(const NSRunningApplication& application) {
  workspace_->announceLaunch(application);
}
void SimulatedDesktop::quit(const NSRunningApplication& application) {
  workspace_->quit(application);
}
void SimulatedDesktop::activate(const NSRunningApplication& application) {
  workspace_->activate(application);
}
void SimulatedDesktop::setFrontmost(const std::optional<NSRunningApplication>& application) {
  workspace_->setFrontmost(application);
}
void SimulatedDesktop::whenAskedToActivate(const NSRunningApplication& application, ActivationBehaviour behaviour) {
  workspace_->whenAskedToActivate(application, behaviour);
}
std::size_t SimulatedDesktop::activationRequests(const NSRunningApplication& application) const {
  return workspace_->activationRequests(application);
}
const std::vector<std::string>& SimulatedDesktop::openedURLs() const {
  return workspace_->openedURLs();
}
void SimulatedDesktop::refuseURLs(bool refuse) {
  workspace_->refuseURLs(refuse);
}
void SimulatedDesktop::announce(const char* workspaceNotification) {
  workspace_->announce(workspaceNotification);
}

void SimulatedDesktop::install(const InstalledApplication& application) {
  bundles_->install(application);
}
void SimulatedDesktop::setMainBundleInfo(std::map<std::string, std::string, std::less<>> infoDictionary) {
  bundles_->setMainBundleInfo(std::move(infoDictionary));
}

void SimulatedDesktop::pressKey(char key) {
  input_->send(kCGEventKeyDown, key);
}
void SimulatedDesktop::releaseKey(char key) {
  input_->send(kCGEventKeyUp, key);
}
void SimulatedDesktop::type(std::string_view keys) {
  for (const char key : keys) {
    pressKey(key);
    releaseKey(key);
  }
}
void SimulatedDesktop::changeFlags(CGEventFlags flags) {
  input_->setFlags(flags);
  input_->send(kCGEventFlagsChanged, '\0');
}
void SimulatedDesktop::clickMouse(CGPoint location, CGEventType type) {
  input_->setLocation(location);
  input_->send(type, '\0');
}
void SimulatedDesktop::sendEvent(CGEventType type, CGEventFlags flags, CGPoint location) {
  input_->send(type, flags, location);
}
void SimulatedDesktop::makeEventsUncopyable(bool uncopyable) {
  input_->makeEventsUncopyable(uncopyable);
}

std::vector<InputRecord> SimulatedDesktop::inputDeliveredTo(const NSRunningApplication& application) const {
  std::vector<InputRecord> delivered;
  std::ranges::copy_if(input_->records(), std::back_inserter(delivered), [&](const InputRecord& record) {
    return record.application == application.processIdentifier();
  });
  return delivered;
}
std::string SimulatedDesktop::textIn(const NSRunningApplication& application) const {
  std::string text;
  for (const InputRecord& record : inputDeliveredTo(application)) {
    if (record.type == kCGEventKeyDown) text += record.key;
  }
  return text;
}
std::size_t SimulatedDesktop::suppressedEvents() const {
  return static_cast<std::size_t>(std::ranges::count_if(input_->records(), &InputRecord::suppressed));
}

void SimulatedDesktop::grantInputMonitoring(bool granted) {
  input_->grantInputMonitoring(granted);
}
void SimulatedDesktop::disableTapBySystem(CGEventType notice) {
  input_->disableTaps(notice);
}
std::size_t SimulatedDesktop::liveTaps() const {
  return input_->liveTaps();
}
std::size_t SimulatedDesktop::liveRunLoopSources() const {
  return runLoops_->liveSources();
}

void SimulatedDesktop::grantAccessibility(bool granted) {
  accessibility_->grant(granted);
  input_->allowActiveTaps(granted);
}
void SimulatedDesktop::refuseObserver(std::int32_t pid, AXError error) {
  accessibility_->refuseObserver(pid, error);
}
void SimulatedDesktop::refuseNotification(std::int32_t pid, AXError error) {
  accessibility_->refuseNotification(pid, error);
}
void SimulatedDesktop::announceActivation(std::int32_t pid) {
  accessibility_->announceActivation(pid);
}
std::size_t SimulatedDesktop::observersOf(std::int32_t pid) const {
  return accessibility_->observersOf(pid);
}
void SimulatedDesktop::duringBackgroundRegistration(std::int32_t pid, std::function<void()> story) {
  accessibility_->duringBackgroundRegistration(pid, std::move(story));
}

void SimulatedDesktop::refuseSuite(const std::string& suiteName, bool refuse) {
  defaults_->refuseSuite(suiteName, refuse);
}
void SimulatedDesktop::setApplicationSupportDirectories(std::vector<std::filesystem::path> folders) {
  files_->setApplicationSupportDirectories(std::move(folders));
}
void SimulatedDesktop::failWrites(std::optional<std::string> description) {
  files_->failWrites(std::move(description));
}
void SimulatedDesktop::failFolderCreation(std::optional<std::string> description) {
  files_->failFolderCreation(std::move(description));
}
void SimulatedDesktop::failMoves(std::optional<std::string> description) {
  files_->failMoves(std::move(description));
}
void SimulatedDesktop::putFile(const std::filesystem::path& file, std::string bytes) {
  files_->putFile(file, std::move(bytes));
}
void SimulatedDesktop::makeUnreadable(const std::filesystem::path& file) {
  files_->makeUnreadable(file);
}
std::vector<std::filesystem::path> SimulatedDesktop::fileNames() const {
  return files_->fileNames();
}

void SimulatedDesktop::answerAuthorization(AuthorizationAnswer answer) {
  userNotifications_->answerAuthorization(std::move(answer));
}
const std::vector<UNAuthorizationOptions>& SimulatedDesktop::authorizationRequests() const {
  return userNotifications_->authorizationRequests();
}
const std::vector<UNNotificationCategory>& SimulatedDesktop::notificationCategories() const {
  return userNotifications_->categories();
}
void SimulatedDesktop::failNotifications(std::optional<std::string> description) {
  userNotifications_->failPosts(std::move(description));
}
const std::vector<UNNotificationRequest>& SimulatedDesktop::postedNotifications() const {
  return userNotifications_->posted();
}
std::optional<UNNotificationPresentationOptions> SimulatedDesktop::presentationInFront(
    const UNNotificationRequest& request) {
  return userNotifications_->presentationInFront(request);
}
void SimulatedDesktop::chooseAction(const UNNotificationRequest& request, const std::string& actionIdentifier) {
  userNotifications_->chooseAction(request, actionIdentifier);
}
std::size_t SimulatedDesktop::finishedResponses() const {
  return userNotifications_->finishedResponses();
}

void SimulatedDesktop::setLoginItemStatus(SMAppServiceStatus status) {
  loginItem_->setStatus(status);
}
void SimulatedDesktop::failLoginItemChanges(std::optional<std::string> description) {
  loginItem_->failChanges(std::move(description));
}
const std::vector<bool>& SimulatedDesktop::loginItemChanges() const {
  return loginItem_->changes();
}

std::vector<LogLine> SimulatedDesktop::logLines() const {
  return log_->lines();
}
std::vector<std::string> SimulatedDesktop::logMessages(LogCategory category) const {
  std::vector<std::string> messages;
  for (const LogLine& line : log_->lines()) {
    if (line.category == category) messages.push_back(line.message);
  }
  return messages;
}
std::size_t SimulatedDesktop::timesLogged(std::string_view message) const {
  return static_cast<std::size_t>(std::ranges::count(log_->lines(), message, &LogLine::message));
}
void SimulatedDesktop::clearLog() {
  log_->clear();
}
void SimulatedDesktop::switchLogLevel(LogCategory category, LogLevel level, bool on) {
  auto& levels = enabledLogLevels[static_cast<std::size_t>(category)];
  if (on) {
    levels |= static_cast<std::uint8_t>(level);
  } else {
    levels &= static_cast<std::uint8_t>(~static_cast<std::uint8_t>(level));
  }
}

NSWorkspace& SimulatedDesktop::workspace() {
  return *workspace_;
}
EventServices& SimulatedDesktop::events() {
  return *input_;
}
RunLoops& SimulatedDesktop::runLoops() {
  return *runLoops_;
}
AccessibilityServices& SimulatedDesktop::accessibility() {
  return *accessibility_;
}
TaskServices& SimulatedDesktop::tasks() {
  return *executor_;
}
UserDefaultsServices& SimulatedDesktop::userDefaults() {
  return *defaults_;
}
NSFileManager& SimulatedDesktop::fileManager() {
  return *files_;
}
BundleServices& SimulatedDesktop::bundles() {
  return *bundles_;
}
NSNotificationCenter& SimulatedDesktop::defaultNotificationCenter() {
  return defaultCenter_;
}
UNUserNotificationCenter& SimulatedDesktop::userNotificationCenter() {
  return *userNotifications_;
}
SMAppService& SimulatedDesktop::mainAppService() {
  return *loginItem_;
}
LogSink& SimulatedDesktop::log() {
  return *log_;
}

std::string SimulatedDesktop::newUUID() {
  char text[37];
  std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012llx", static_cast<unsigned long long>(++lastUUID_));
  return text;
}

}  // namespace platform::simulated
