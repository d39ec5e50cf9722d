#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/stores/DesktopEntries.h"
#include "platform/linux/x11/FrontmostOnThread.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/applications/DesktopEntriesFolder.h"

namespace platform::linux_desktop {
namespace {

using testing::ElementsAre;

class LinuxWorkspaceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { desktopEntriesFolder(); }

  LinuxWorkspaceTest() {
    listenFor(NSWorkspaceDidLaunchApplicationNotification, "launch ");
    listenFor(NSWorkspaceDidTerminateApplicationNotification, "terminate ");
    listenFor(NSWorkspaceDidActivateApplicationNotification, "activate ");
    desktop->setWindowManagerHandler([this] { ++windowManagerChanges; });
  }
  void TearDown() override { desktop->finish(); }

  void listenFor(const char* name, const std::string& verb) {
    workspace().notificationCenter().addObserverForName(
        name, NSOperationQueue::mainQueue, [this, verb](const NSNotification& notification) {
          const auto application = notification.value<NSRunningApplication>(NSWorkspaceApplicationKey);
          story.push_back(verb + application->bundleIdentifier().value_or("?"));
        });
  }
  NSWorkspace& workspace() { return desktop->workspace(); }
  std::optional<pid_t> front() {
    const auto application = workspace().frontmostApplication();
    return application ? std::optional(application->processIdentifier()) : std::nullopt;
  }
  // A window of that class in front, and told of.
  xcb_window_t show(Application& application, const std::string& windowClass) {
    const xcb_window_t window = application.create();
    scene.setText(window, "WM_CLASS", "instance" + std::string(1, '\0') + windowClass + std::string(1, '\0'));
    application.map(window);
    EXPECT_TRUE(runUntil([&] { return scene.desktop.activeWindow() == window && scene.isManaged(window); }));
    runUntilTold("activate " + windowClass);
    return window;
  }
  void runUntilTold(const std::string& event) {
    EXPECT_TRUE(runUntil([&] { return std::find(story.begin(), story.end(), event) != story.end(); }))
        << event << " is not in " << testing::PrintToString(story);
  }
  std::optional<NSRunningApplication> running(pid_t process) {
    for (const auto& application : workspace().runningApplications()) {
      if (application.processIdentifier() == process) return application;
    }
    return std::nullopt;
  }
  NSRunningApplication applicationOf(pid_t process) { return running(process).value(); }

  DesktopScene scene;
  std::vector<std::string> story;
  int windowManagerChanges = 0;
  Application editor{scene.desktop};
  Application thief{scene.desktop};
  std::unique_ptr<LinuxDesktop> desktop = LinuxDesktop::open("app.test");
  InstalledDesktop installed{*desktop};
};

TEST_F(LinuxWorkspaceTest, TellsOfLaunchActivationAndTerminationInOrder) {
  EXPECT_EQ(front(), std::nullopt);
  show(editor, "Editor");
  const auto application = applicationOf(editor.process());
  const xcb_window_t stolen = show(thief, "Thief");
  thief.destroy(stolen);
  runUntilTold("terminate Thief");
  ASSERT_TRUE(runUntil([&] { return story.size() == 6; })) << testing::PrintToString(story);
  // Which of the last two comes first is the window manager's to decide.
  std::sort(story.begin() + 4, story.end());
  EXPECT_THAT(story, ElementsAre("launch Editor", "activate Editor", "launch Thief", "activate Thief",
                                 "activate Editor", "terminate Thief"));
  EXPECT_EQ(application.localizedName(), "Editor");
  EXPECT_FALSE(application.isTerminated());
  EXPECT_EQ(workspace().runningApplications().size(), 1u);
}

TEST_F(LinuxWorkspaceTest, AnApplicationEndsWithItsLastWindowAndItsProcessMayComeBackAsAnother) {
  const xcb_window_t first = show(editor, "Editor");
  const auto application = applicationOf(editor.process());
  const xcb_window_t second = editor.createMapped();
  ASSERT_TRUE(runUntil([&] { return scene.isManaged(second); }));
  editor.destroy(first);
  runFor(std::chrono::milliseconds(50));
  EXPECT_FALSE(application.isTerminated());
  editor.unmap(second);
  EXPECT_TRUE(runUntil([&] { return application.isTerminated(); })) << "windows that nobody manages do not count";
  EXPECT_FALSE(application.activateWithOptions(NSApplicationActivationOptions::none));
  editor.map(second);
  ASSERT_TRUE(runUntil([&] { return front() == editor.process(); }));
  EXPECT_TRUE(application.isTerminated());
  EXPECT_FALSE(workspace().frontmostApplication()->isTerminated());
}

TEST_F(LinuxWorkspaceTest, AnApplicationEndsAlsoWhileAnotherOpensAndClosesWindowsAllTheTime) {
  const xcb_window_t window = show(editor, "Editor");
  const auto application = applicationOf(editor.process());
  editor.unmap(window);
  for (int i = 0; i < 20 && !application.isTerminated(); ++i) {
    const xcb_window_t passing = thief.createMapped();
    runFor(std::chrono::milliseconds(100));
    thief.destroy(passing);
    runFor(std::chrono::milliseconds(100));
  }
  EXPECT_TRUE(application.isTerminated());
}

TEST_F(LinuxWorkspaceTest, AnApplicationThatHidesItsWindowForAMomentIsNotTakenAlongByTheEndOfAnother) {
  const xcb_window_t others = show(thief, "Thief");
  const auto other = applicationOf(thief.process());
  const xcb_window_t window = show(editor, "Editor");
  const auto application = applicationOf(editor.process());
  thief.unmap(others);
  runFor(std::chrono::milliseconds(800));
  editor.unmap(window);
  ASSERT_TRUE(runUntil([&] { return !scene.isManaged(window); }));
  ASSERT_FALSE(other.isTerminated());
  ASSERT_TRUE(runUntil([&] { return other.isTerminated(); }));
  editor.map(window);
  runFor(std::chrono::milliseconds(1200));
  EXPECT_FALSE(application.isTerminated());
}

TEST_F(LinuxWorkspaceTest, SeesAFocusThatIsSetBehindTheWindowManagersBack) {
  const xcb_window_t window = show(thief, "Thief");
  const xcb_window_t inside = thief.createInside(window);
  thief.map(inside);
  show(editor, "Editor");
  story.clear();
  scene.setInputFocus(inside);
  EXPECT_EQ(front(), thief.process());
  runUntilTold("activate Thief");
}

TEST_F(LinuxWorkspaceTest, NamesApplicationsByWhatTheyAreAndThenByWhatTheySayOfThemselves) {
  const TestFolder folder;
  const auto entry = [](const std::string& name, const std::string& windowClass) {
    return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=true\nStartupWMClass=" + windowClass + '\n';
  };
  fill(desktopEntriesFolder() / "org.test.Writer.desktop", entry("The Writer", "writer-window"));
  fill(desktopEntriesFolder() / "com.apple.loginwindow.desktop", entry("Locker", "lock-window"));
  fill(desktopEntriesFolder() / "app.test.desktop", entry("Own", "own-window"));
  ASSERT_TRUE(runUntil([] { return DesktopEntries().entryWithId("app.test").has_value(); }));
  struct Case {
    std::string program;
    std::vector<std::pair<const char*, std::string>> says;
    std::string identifier;
    std::string name;
  };
  const auto classes = [](std::string instance, const std::string& windowClass) {
    return std::pair("WM_CLASS", std::move(instance) + '\0' + windowClass + '\0');
  };
  constexpr char gtk[] = "_GTK_APPLICATION_ID";
  const std::vector<Case> cases{
      {"any", {}, "any", "any"},
      {"any", {classes("x", "writer-window")}, "org.test.Writer", "The Writer"},
      {"any", {classes("x", "Anything"), {gtk, "org.test.Unknown"}}, "org.test.Unknown", "Anything"},
      {"any", {{"WM_CLASS", std::string(5000, '\xff')}, {gtk, "../../etc/\xc3(\n"}}, "\uFFFD(\uFFFD", "any"},
      {"any", {classes("x", "\u200b\u3164 "), {gtk, "org.\u200btest"}}, "org.\uFFFDtest", "any"},
      {"\u2060", {classes("x", "\u200b"), {gtk, "org.test.Blank"}}, "org.test.Blank", "org.test.Blank"},
      {"i3lock", {classes("x", "Anything"), {gtk, "org.test.Writer"}}, "com.apple.loginwindow", "The Writer"},
      {"orca", {}, "orca", "orca"},  // the screen reader of that name is a script
      // What is the agents' and the program's own is not to be had by claiming it.
      {"any", {classes("com.apple.loginwindow", "com.apple.SecurityAgent")}, "any", "any"},
      {"any", {classes("x", "com.apple.FaceTime"), {gtk, "\uFEFFcom.apple.loginwindow"}}, "any", "any"},
      {"any",
       {classes("COM.APPLE.LOGINWINDOW", "COM.APPLE.LOGINWINDOW")},
       "COM.APPLE.LOGINWINDOW",
       "COM.APPLE.LOGINWINDOW"},
      {"any", {classes("lock-window", "own-window")}, "own-window", "own-window"},
      {"any",
       {{gtk, "app.test"}, {"_KDE_NET_WM_DESKTOP_FILE", "/x/org.test.Writer.desktop"}},
       "org.test.Writer",
       "The Writer"},
      {"any", {{"_BAMF_DESKTOP_FILE_HINT", "/x/app.test.desktop"}, classes("x", "app.test")}, "any", "any"},
      {"app.test", {classes("x", "Anything")}, "Anything", "Anything"},
  };
  for (const auto& [program, says, identifier, name] : cases) {
    const auto file = folder / program;
    std::filesystem::copy_file(VARNOLET_WINDOW_CLIENT, file, std::filesystem::copy_options::skip_existing);
    Application application(scene.desktop, file);
    const xcb_window_t window = application.create();
    for (const auto& [property, text] : says) scene.setText(window, property, text);
    application.map(window);
    ASSERT_TRUE(runUntil([&] { return running(application.process()).has_value(); }));
    const auto shown = applicationOf(application.process());
    EXPECT_EQ(shown.bundleIdentifier(), identifier) << testing::PrintToString(says);
    EXPECT_EQ(shown.localizedName(), name) << testing::PrintToString(says);
  }
}

TEST_F(LinuxWorkspaceTest, DuringAnEventTapCallbackTheFrontmostApplicationIsTheOneThatTheEventGoesTo) {
  show(editor, "Editor");
  std::optional<NSRunningApplication> seen;
  std::optional<NSRunningApplication> nobody;
  std::optional<NSRunningApplication> outside;
  std::thread([&] {
    const FrontmostOnThread thiefsTurn(thief.process());
    seen = workspace().frontmostApplication();
    const FrontmostOnThread nobodysTurn(std::nullopt);
    nobody = workspace().frontmostApplication();
  }).join();
  std::thread([&] { outside = workspace().frontmostApplication(); }).join();
  ASSERT_TRUE(seen);
  EXPECT_EQ(seen->processIdentifier(), thief.process()) << "before the desktop told of that application";
  EXPECT_FALSE(seen->bundleIdentifier());
  EXPECT_FALSE(nobody);
  EXPECT_EQ(outside, applicationOf(editor.process()));
  show(thief, "Thief");
  EXPECT_EQ(seen->bundleIdentifier(), "Thief") << "the record is the same one";
}

TEST_F(LinuxWorkspaceTest, ApplicationsOutliveAChangeOfTheWindowManager) {
  show(editor, "Editor");
  const auto application = applicationOf(editor.process());
  EXPECT_TRUE(desktop->accessibility().isProcessTrusted());
  windowManagerChanges = 0;
  scene.desktop.replaceWindowManager(stage::WindowManager::xfwm4);
  EXPECT_TRUE(runUntil([&] { return windowManagerChanges > 0; }));
  runFor(std::chrono::milliseconds(1500));
  EXPECT_TRUE(desktop->accessibility().isProcessTrusted());
  EXPECT_FALSE(application.isTerminated());
  EXPECT_TRUE(application.activateWithOptions(NSApplicationActivationOptions::none));
  EXPECT_TRUE(runUntil([&] { return front() == editor.process(); }));
}

TEST_F(LinuxWorkspaceTest, TheEndOfTheServerIsToldOnceAndEveryQuestionStillReturns) {
  show(editor, "Editor");
  const auto application = applicationOf(editor.process());
  int losses = 0;
  desktop->setConnectionLostHandler([&] { ++losses; });
  scene.desktop.killServer();
  EXPECT_TRUE(runUntil([&] { return losses > 0; }));
  runFor(std::chrono::milliseconds(50));
  EXPECT_EQ(losses, 1);
  EXPECT_EQ(front(), std::nullopt);
  EXPECT_FALSE(desktop->accessibility().isProcessTrusted());
  EXPECT_FALSE(application.activateWithOptions(NSApplicationActivationOptions::none));
}

}  // namespace
}  // namespace platform::linux_desktop
