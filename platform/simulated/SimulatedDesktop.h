// A whole desktop in memory, on virtual time: what tests run everything above the platform on.
//
//   SimulatedDesktop desktop;                                   // installed for its own lifetime
//   const auto editor = desktop.launch({.localizedName = "Editor"});
//   const auto dialog = desktop.launch({.localizedName = "Dialog"});
//   desktop.activate(editor);
//   ...                                                         // something that holds the keys back for 200 ms
//   desktop.type("he");
//   desktop.setFrontmost(dialog);                               // focus moves, nobody has been told yet
//   desktop.type("llo");
//   desktop.advance(199ms);
//   EXPECT_EQ(desktop.textIn(dialog), "");
//   desktop.advance(1ms);
//   EXPECT_EQ(desktop.textIn(dialog), "llo");
//
// The thread that creates the desktop is the main thread; it alone calls the verbs below, unless one says otherwise.
// Time stands still until advance() or a sleep moves it. The threads of dispatch queues and of background work are real
// but take turns with the main thread: exactly one runs, the others wait, and the order is the same in every run. They
// get their turns when the main thread waits for something: in settle(), advance(), an input verb, a sleep, sync() and
// the destruction of a queue. Main-thread work runs in settle() and advance() only. What would never end in real life,
// a deadlock for one, ends the process with a message.
//
// Verbs that a desktop announces with a notification post it before they return; called from inside the program's own
// work, they leave it to a later turn of the main thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Desktop.h"

namespace platform::simulated {

class Accessibility;
class Bundles;
class Defaults;
class Executor;
class Files;
class InputStream;
class LogRecorder;
class LoginItem;
class RunLoopService;
class UserNotifications;
class Workspace;

// An application to launch. Process identifier 0: the desktop gives it the next free one.
struct Application {
  std::int32_t pid = 0;
  std::optional<std::string> bundleIdentifier = std::nullopt;
  std::optional<std::string> localizedName = std::nullopt;
};

// An application that is installed at a location, running or not.
struct InstalledApplication {
  std::filesystem::path location;
  std::optional<std::string> bundleIdentifier = std::nullopt;
  std::string displayName = {};
  std::string icon = {};
};

// What follows when an application is asked to become frontmost.
struct ActivationBehaviour {
  bool answer = true;
  // When it becomes frontmost, counted from the request; absent: never. With 0 it is frontmost when the request
  // returns. The notification always comes in a later turn of the main thread.
  std::optional<std::chrono::nanoseconds> comesAfter = std::chrono::nanoseconds(0);

  static ActivationBehaviour obeysAtOnce() { return {}; }
  static ActivationBehaviour obeysAfter(std::chrono::nanoseconds delay) { return {true, delay}; }
  static ActivationBehaviour ignores() { return {true, std::nullopt}; }
  static ActivationBehaviour refuses() { return {false, std::nullopt}; }
  static ActivationBehaviour refusesYetComesAfter(std::chrono::nanoseconds delay) { return {false, delay}; }
};

// The end of one input event's way.
struct InputRecord {
  CGEventType type = 0;
  char key = 0;  // 0 for what is not a key
  CGEventFlags flags = 0;
  CGPoint location;
  bool suppressed = false;  // dropped by a tap
  // Which process it reached; absent if it was suppressed, or nobody was in front.
  std::optional<std::int32_t> application;
};

// What the user answers when the program asks whether it may show notifications.
struct AuthorizationAnswer {
  bool granted = true;
  std::optional<std::string> failure = std::nullopt;

  static AuthorizationAnswer grants() { return {}; }
  static AuthorizationAnswer refuses() { return {false}; }
  static AuthorizationAnswer fails(std::string description) { return {false, std::move(description)}; }
};

struct LogLine {
  LogCategory category = LogCategory::focus;
  LogLevel level = LogLevel::standard;
  std::string message;

  friend bool operator==(const LogLine&, const LogLine&) = default;
};
std::ostream& operator<<(std::ostream& stream, const LogLine& line);

class SimulatedDesktop : public Desktop {
 public:
  // Both permissions are granted, all log levels are on, nothing runs and nothing is in front.
  SimulatedDesktop();
  // Drops all work that has not run. Threads still inside a run loop are unwound out of it.
  ~SimulatedDesktop() override;

  // Time.
  // Runs everything that is due now, and what follows from it, until nothing is left to do.
  void settle();
  // Lets time pass and runs everything that falls due, in order, what is due at the end included.
  void advance(std::chrono::nanoseconds duration);
  // Moves the wall clock alone, forwards or backwards.
  void setWallClock(Date date);

  // Applications.
  NSRunningApplication launch(const Application& application);
  // Posts the launch notification of an application that runs already.
  void announceLaunch(const NSRunningApplication& application);
  // The application is gone from the list, and from the front, before its termination is announced.
  void quit(const NSRunningApplication& application);
  // Brings it to the front and announces it.
  void activate(const NSRunningApplication& application);
  // Brings it, or nobody, to the front without announcing it. Any thread.
  void setFrontmost(const std::optional<NSRunningApplication>& application);
  void whenAskedToActivate(const NSRunningApplication& application, ActivationBehaviour behaviour);
  std::size_t activationRequests(const NSRunningApplication& application) const;
  const std::vector<std::string>& openedURLs() const;
  // Openings are refused, and not recorded, from now on.
  void refuseURLs(bool refuse = true);

  // Posts one of the workspace's notifications of screens and sessions.
  void announce(const char* workspaceNotification);

  // Installed applications.
  void install(const InstalledApplication& application);
  // Versions and the like of the program itself; none at first.
  void setMainBundleInfo(std::map<std::string, std::string, std::less<>> infoDictionary);

  // Input. Each returns when the event has reached its application or was suppressed. Keys carry the modifiers last
  // set by changeFlags() and the place of the last click.
  void pressKey(char key);
  void releaseKey(char key);
  // Presses and releases each key in turn.
  void type(std::string_view keys);
  void changeFlags(CGEventFlags flags);
  void clickMouse(CGPoint location = {}, CGEventType type = kCGEventLeftMouseDown);
  void sendEvent(CGEventType type, CGEventFlags flags = 0, CGPoint location = {});
  // From now on new events cannot be copied, as those that have reached an application already.
  void makeEventsUncopyable(bool uncopyable = true);

  std::vector<InputRecord> inputDeliveredTo(const NSRunningApplication& application) const;
  // The keys of the key-down events that reached the application, in order.
  std::string textIn(const NSRunningApplication& application) const;
  std::size_t suppressedEvents() const;

  // Event taps. They need Input Monitoring, active ones Accessibility too.
  void grantInputMonitoring(bool granted = true);
  // Disables every enabled tap and gives its callback the notice, one of the kCGEventTapDisabledBy types.
  void disableTapBySystem(CGEventType notice);
  std::size_t liveTaps() const;
  // Sources in any thread's run loop, those of accessibility observers included.
  std::size_t liveRunLoopSources() const;

  // Accessibility. Without the permission observers are refused with AXError::apiDisabled.
  void grantAccessibility(bool granted = true);
  void refuseObserver(std::int32_t pid, AXError error);
  void refuseNotification(std::int32_t pid, AXError error);
  // Calls the observers of this process that are in the main run loop.
  void announceActivation(std::int32_t pid);
  // How many observers of this process are in the main run loop.
  std::size_t observersOf(std::int32_t pid) const;
  // The next time background work creates an observer for `pid`: holds it up inside, runs `story` and all main-thread
  // work that is due, then lets it go on.
  void duringBackgroundRegistration(std::int32_t pid, std::function<void()> story);

  // Stores. The files are in memory.
  void refuseSuite(const std::string& suiteName, bool refuse = true);
  void setApplicationSupportDirectories(std::vector<std::filesystem::path> folders);
  // From now on these operations fail with the description; absent: they work again. Copies are writes.
  void failWrites(std::optional<std::string> description);
  void failFolderCreation(std::optional<std::string> description);
  void failMoves(std::optional<std::string> description);
  // Makes a file, or replaces one, and its folder if need be, whatever fails otherwise.
  void putFile(const std::filesystem::path& file, std::string bytes);
  // The file exists but cannot be read.
  void makeUnreadable(const std::filesystem::path& file);
  // Every file there is, by name.
  std::vector<std::filesystem::path> fileNames() const;

  // User notifications. What the program is told of them, it is told on a background thread.
  void answerAuthorization(AuthorizationAnswer answer);
  // The options of each time that it was asked for.
  const std::vector<UNAuthorizationOptions>& authorizationRequests() const;
  const std::vector<UNNotificationCategory>& notificationCategories() const;
  // From now on posting fails with the description; absent: it works again.
  void failNotifications(std::optional<std::string> description);
  // Those that were not failed.
  const std::vector<UNNotificationRequest>& postedNotifications() const;
  // How the program wants this one shown while it is in front itself; absent if it does not say.
  std::optional<UNNotificationPresentationOptions> presentationInFront(const UNNotificationRequest& request);
  // The user chooses an action of this one, UNNotificationDefaultActionIdentifier by a click on it.
  void chooseAction(const UNNotificationRequest& request, const std::string& actionIdentifier);
  // How many choices the program has dealt with.
  std::size_t finishedResponses() const;

  // Login item. Not registered at first.
  void setLoginItemStatus(SMAppServiceStatus status);
  // From now on changing it fails with the description; absent: it works again.
  void failLoginItemChanges(std::optional<std::string> description);
  // What was asked for so far, failed or not: true to register, false to unregister.
  const std::vector<bool>& loginItemChanges() const;

  // Log. Any thread.
  std::vector<LogLine> logLines() const;
  std::vector<std::string> logMessages(LogCategory category) const;
  std::size_t timesLogged(std::string_view message) const;
  void clearLog();
  void switchLogLevel(LogCategory category, LogLevel level, bool on);

  // Desktop
  NSWorkspace& workspace() override;
  EventServices& events() override;
  RunLoops& runLoops() override;
  AccessibilityServices& accessibility() override;
  TaskServices& tasks() override;
  UserDefaultsServices& userDefaults() override;
  NSFileManager& fileManager() override;
  BundleServices& bundles() override;
  NSNotificationCenter& defaultNotificationCenter() override;
  UNUserNotificationCenter& userNotificationCenter() override;
  SMAppService& mainAppService() override;
  LogSink& log() override;
  // 00000000-0000-4000-8000-000000000001 and on.
  std::string newUUID() override;

 private:
  InstalledDesktop installed_;
  NSNotificationCenter defaultCenter_;
  std::shared_ptr<Executor> executor_;
  std::unique_ptr<LogRecorder> log_;
  std::unique_ptr<Defaults> defaults_;
  std::unique_ptr<Bundles> bundles_;
  std::unique_ptr<Files> files_;
  std::shared_ptr<Workspace> workspace_;
  std::unique_ptr<RunLoopService> runLoops_;
  std::unique_ptr<InputStream> input_;
  std::unique_ptr<Accessibility> accessibility_;
  std::unique_ptr<UserNotifications> userNotifications_;
  std::unique_ptr<LoginItem> loginItem_;
  std::atomic<std::uint64_t> lastUUID_{0};
};

}  // namespace platform::simulated
