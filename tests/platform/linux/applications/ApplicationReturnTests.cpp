#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/x11/WindowProperties.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/applications/DesktopEntriesFolder.h"

namespace platform::linux_desktop {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t minimised = 100;
constexpr std::uint32_t everywhere = 0xFFFFFFFF;

// An editor whose second window has the focus, until a thief takes it.
class ApplicationReturnTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { desktopEntriesFolder(); }

  ApplicationReturnTest() {
    desktop->workspace().notificationCenter().addObserverForName(
        NSWorkspaceDidActivateApplicationNotification, NSOperationQueue::mainQueue, [this](const auto& notification) {
          activated.push_back(
              notification.template value<NSRunningApplication>(NSWorkspaceApplicationKey)->processIdentifier());
        });
    appear(editor, other);
    appear(thief, stolen);
    appear(editor, window);
    scene.desktop.activate(stolen);
    expectInFront(thief, stolen);
  }
  void TearDown() override { desktop->finish(); }

  void appear(Application& application, xcb_window_t shown) {
    application.map(shown);
    expectInFront(application, shown);
  }
  void expectInFront(const Application& application, xcb_window_t shown) {
    ASSERT_TRUE(runUntil([&] {
      return scene.desktop.activeWindow() == shown && front() == application.process() && scene.isManaged(shown) &&
             !activated.empty() && activated.back() == application.process();
    }));
  }
  std::optional<pid_t> front() {
    const auto application = desktop->workspace().frontmostApplication();
    return application ? std::optional(application->processIdentifier()) : std::nullopt;
  }
  bool activateEditor() {
    for (const auto& application : desktop->workspace().runningApplications()) {
      if (application.processIdentifier() != editor.process()) continue;
      return application.activateWithOptions(NSApplicationActivationOptions::none);
    }
    return false;
  }
  void put(xcb_window_t which, std::uint32_t place) {
    scene.desktop.send(place == minimised ? "WM_CHANGE_STATE" : "_NET_WM_DESKTOP", which,
                       place == minimised ? 3 : place);
    ASSERT_TRUE(runUntil([&] { return placeOf(which) == place; }));
  }
  std::uint32_t placeOf(xcb_window_t which) {
    return has(which, "_NET_WM_STATE_HIDDEN") ? minimised : scene.desktop.connection().value(which, "_NET_WM_DESKTOP");
  }
  std::uint32_t currentWorkspace() const { return scene.desktop.connection().value(root, "_NET_CURRENT_DESKTOP"); }
  bool has(xcb_window_t which, const char* state) {
    const auto connection = XcbConnection::open();
    const auto states = numbersOf(*connection, which, "_NET_WM_STATE", XCB_ATOM_ATOM, 64);
    return states && std::find(states->begin(), states->end(), connection->atom(state)) != states->end();
  }

  DesktopScene scene;
  const xcb_window_t root = scene.desktop.connection().root();
  Application editor{scene.desktop};
  Application thief{scene.desktop};
  std::unique_ptr<LinuxDesktop> desktop = LinuxDesktop::open("app.test");
  InstalledDesktop installed{*desktop};
  std::vector<pid_t> activated;
  xcb_window_t other = editor.create();
  xcb_window_t window = editor.create();
  xcb_window_t stolen = thief.create();
};

struct ReturnCase {
  const char* name;
  // What became of the editor's windows after the theft, and where the thief was before it.
  std::uint32_t window, other, thief;
  char expected;  // w(indow), o(ther) or n(othing)
  std::uint32_t workspace = 0;
};

class ReturnTargetTest : public ApplicationReturnTest, public testing::WithParamInterface<ReturnCase> {};

TEST_P(ReturnTargetTest, IsSeenAlreadyOrWasUntilTheTheft) {
  const auto& [name, windowsPlace, othersPlace, thiefsPlace, expected, workspaceAfter] = GetParam();
  if (thiefsPlace != 0) {
    scene.desktop.activate(window);
    expectInFront(editor, window);
    put(window, windowsPlace);
    put(stolen, thiefsPlace);
    scene.desktop.send("_NET_CURRENT_DESKTOP", root, thiefsPlace);
    scene.desktop.activate(stolen);
    expectInFront(thief, stolen);
  }
  put(window, windowsPlace);
  put(other, othersPlace);
  EXPECT_EQ(activateEditor(), expected != 'n');
  if (expected == 'n') {
    EXPECT_FALSE(runUntil([&] { return front() != thief.process(); }, std::chrono::milliseconds(150)));
  } else {
    expectInFront(editor, expected == 'w' ? window : other);
  }
  EXPECT_EQ(placeOf(window), windowsPlace);
  EXPECT_EQ(placeOf(other), othersPlace);
  EXPECT_EQ(currentWorkspace(), workspaceAfter);
}

INSTANTIATE_TEST_SUITE_P(When, ReturnTargetTest,
                         testing::Values(ReturnCase{"BothAreThere", 0, 0, 0, 'w'},
                                         ReturnCase{"OneIsMinimised", minimised, 0, 0, 'o'},
                                         ReturnCase{"OneIsElsewhere", 1, 0, 0, 'o'},
                                         ReturnCase{"BothAreMinimised", minimised, minimised, 0, 'n'},
                                         ReturnCase{"BothAreElsewhere", 1, 1, 0, 'n'},
                                         ReturnCase{"TheTheftSwitchedTheWorkspace", 0, 0, 1, 'w'},
                                         ReturnCase{"OneIsEverywhere", everywhere, 0, 1, 'w', 1}),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_F(ApplicationReturnTest, IsDoneAgainWhileTheSameOneInsistsAndEndsWithAThird) {
  ASSERT_TRUE(activateEditor());
  expectInFront(editor, window);
  activated.clear();
  for (int theft = 0; theft < 2; ++theft) {
    scene.setInputFocus(stolen);
    EXPECT_TRUE(runUntil([&] { return front() == editor.process(); }));
  }
  Application third{scene.desktop};
  const xcb_window_t shown = third.create();
  appear(third, shown);
  EXPECT_FALSE(runUntil([&] { return front() != third.process(); }, std::chrono::milliseconds(500)));
  EXPECT_THAT(activated, ElementsAre(third.process()));
}

TEST_F(ApplicationReturnTest, EndsAndWhoIsInFrontThenIsToldOf) {
  ASSERT_TRUE(activateEditor());
  expectInFront(editor, window);
  editor.unmap(window);
  editor.unmap(other);
  expectInFront(thief, stolen);
}

TEST_F(ApplicationReturnTest, LeavesAWindowThatDemandsAttentionUntilItComesToTheFront) {
  constexpr char attention[] = "_NET_WM_STATE_DEMANDS_ATTENTION";
  ASSERT_TRUE(activateEditor());
  EXPECT_FALSE(has(stolen, attention));
  EXPECT_TRUE(runUntil([&] { return has(stolen, attention); }));
  EXPECT_EQ(front(), editor.process());
  scene.desktop.activate(stolen);
  EXPECT_TRUE(runUntil([&] { return !has(stolen, attention); }));
}

}  // namespace
}  // namespace platform::linux_desktop
