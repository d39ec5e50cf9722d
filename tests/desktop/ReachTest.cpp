// Everything can be reached by Tab alone, and tells an assistive program its name.
#include <algorithm>

#include "ApplicationScene.h"

namespace {

using namespace stage;
using Names = std::vector<std::string>;

class Reach : public testing::Test {
 protected:
  void expectShown(const Names& names, const std::string& where) {
    for (const auto& name : names) EXPECT_NO_THROW(scene.await(name)) << where;
  }
  // In this order, from any of them on.
  void expectTabStops(Names expected, const std::string& where) {
    auto stops = scene.tabStops();
    ASSERT_FALSE(stops.empty()) << where << ": nothing has the keyboard";
    const auto first = std::ranges::find(expected, stops.front());
    ASSERT_NE(first, expected.end()) << where << " begins at '" << stops.front() << '\'';
    std::rotate(expected.begin(), first, expected.end());
    EXPECT_EQ(stops, expected) << where;
  }

  ApplicationScene scene;
};

TEST_F(Reach, ThePopover) {
  scene.begin();
  scene.expectWordSurvives(Theft::byRequest, "a word");
  scene.activateThiefByKey();
  scene.openPopover();
  expectShown({"Varnolet Active", "Currently protecting stage-thief", "Last blocked stage-thief just now",
               "1 focus thefts blocked today"},
              "popover");
  const Names footer{"View blocked events log", "Open whitelist settings", "Open settings", "Quit Varnolet"};
  Names stops{"Pause focus protection for one hour", "Pause focus protection until manually re-enabled"};
  stops.insert(stops.end(), footer.begin(), footer.end());
  EXPECT_EQ(scene.focused()->name, "Varnolet") << "somebody who goes on typing presses a button";
  scene.tabTo(stops.front());
  expectTabStops(stops, "popover");
  scene.tabTo("Pause focus protection until manually re-enabled");
  scene.typist.tap(keyReturn);
  scene.await("Varnolet Paused");
  stops.assign({"Resume focus protection"});
  stops.insert(stops.end(), footer.begin(), footer.end());
  expectTabStops(stops, "popover of a pause");
}

TEST_F(Reach, TheSettings) {
  scene.begin();
  scene.choose("Open whitelist settings");
  const std::vector<Names> pages{
      {"General", "Launch at Login", "Enable Protection", "Show Notifications", "Notification Sound"},
      {"Whitelist", "Whitelisted apps", "Add...", "Reset to Defaults"},
      {"Advanced", "Gesture detection window", "Buffer timeout", "Log retention period", "Export Log", "View Log"}};
  for (const auto& page : pages) {
    expectShown(page, page.front());
    expectTabStops(page, page.front());
    scene.typist.tapWithControl(keyTab);
  }
  EXPECT_NO_THROW(scene.tabTo("Check for Updates"));
}

TEST(Welcome, NamesItsPermissions) {
  // On such a server nobody can watch the input.
  const VirtualDesktop desktop(WindowManager::openbox, "800x600x24", {"-extension", "XTEST"});
  const ScreenReader reader(desktop);
  ChildProcess::Options options{desktop.environment()};
  options.environment.emplace("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
  const ChildProcess program({Guard::programUnderTest()}, options);
  for (const char* name :
       {"Welcome to Varnolet", "Accessibility permission, granted", "Permission granted", "Open Accessibility settings",
        "Input Monitoring permission, required", "Permission required", "Open Input Monitoring settings"}) {
    EXPECT_NO_THROW(reader.await(ApplicationScene::program, name));
  }
  const auto getStarted = reader.await(ApplicationScene::program, "Get Started");
  EXPECT_EQ(getStarted.description, "Begin using Varnolet");
  EXPECT_FALSE(getStarted.is(AccessibleState::enabled)) << "without the permissions";
}

}  // namespace
