// The application as its user meets it: icon, popover, windows and notifications, by mouse and by keyboard.
#include <QCoreApplication>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <iterator>
#include <thread>

#include "../platform/linux/bus/LoginService.h"
#include "ApplicationScene.h"

namespace {

using namespace stage;

class Application : public testing::Test {
 protected:
  ApplicationScene scene;
};

TEST_F(Application, GuardsSoonRunsOnceAndLeavesTheKeyboardFree) {
  constexpr std::chrono::milliseconds soon(2000);
  const auto before = std::chrono::steady_clock::now();
  scene.begin();
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - before);
  std::cout << "from process start to guarding: " << elapsed.count() << " ms\n";
  EXPECT_LT(elapsed, soon);
  scene.expectIcon(Panel::Icon::green, "guarding");

  EXPECT_EQ(scene.startAgainUnasked(), orderly) << "a start by some program";
  EXPECT_NO_THROW(scene.reader.await(scene.notifications, "Varnolet is running"));
  EXPECT_FALSE(scene.isPopoverOpen()) << "it takes the keys of whoever types";

  EXPECT_EQ(scene.startAgain(), orderly) << "a second start";
  EXPECT_TRUE(eventually([&] { return scene.isPopoverOpen(); })) << "after a second start";
  EXPECT_TRUE(scene.editor.isFocused()) << "the popover took the focus from the application in front";
  EXPECT_EQ(scene.startAgain(), orderly) << "a third start";
  EXPECT_TRUE(eventually([&] { return !scene.isPopoverOpen(); })) << "after a third start";

  scene.typist.tap(keyReturn);
  EXPECT_EQ(scene.startAgainUnasked(), orderly);
  EXPECT_TRUE(eventually([&] { return scene.isPopoverOpen(); })) << "after a start from a terminal";
  EXPECT_EQ(scene.guard->stop(), orderly);
  scene.expectKeyboardIsFree("after the end of the program with its popover open");
  scene.expectIcon(Panel::Icon::none, "after the end");
}

TEST_F(Application, GivesTheKeysThatAreNotForItsPopoverToTheApplicationInFront) {
  scene.begin();
  const struct {
    std::vector<KeyCode> operating;
    std::vector<KeyCode> writing;
  } cases[] = {{{}, {keySpace, keyA, keyTab, keyB}},
               {{}, {keyReturn, keyA}},
               {{keyTab, keyRight, keyEscape}, {keyA}},
               {{keyLeftShift, keyTab}, {keyA, keySpace, keyReturn}}};
  for (const auto& keys : cases) {
    scene.openPopover();
    scene.startAfresh();
    for (const KeyCode key : keys.operating) scene.typist.tap(key);
    for (const KeyCode key : keys.writing) scene.typist.tap(key);
    EXPECT_TRUE(eventually([&] { return scene.editor.presses() == keys.writing; })) << scene.account();
    EXPECT_TRUE(eventually([&] { return !scene.isPopoverOpen(); }));
    scene.expectAllKeysUp("after writing");
  }
  scene.expectIcon(Panel::Icon::green, "nothing was pressed");
}

TEST_F(Application, ThatStandsStillWithItsPopoverOpenGivesKeyboardAndPointerBackWithinASecond) {
  scene.begin();
  for (int i = 0; i < 2; ++i) {
    scene.panel->clickIcon();
    ASSERT_TRUE(eventually([&] { return scene.isPopoverOpen() && !scene.canGrabKeyboard(); }));
    const auto stopped = std::chrono::steady_clock::now();
    scene.guard->process().signal(SIGSTOP);
    EXPECT_TRUE(eventually([&] { return scene.canGrabKeyboard() && !scene.keyboard.isFloating(); }));
    EXPECT_LT(std::chrono::steady_clock::now() - stopped, std::chrono::seconds(1));
    scene.expectKeyboardIsFree("while the program stands still");
    scene.guard->process().signal(SIGCONT);
    EXPECT_TRUE(eventually([&] { return !scene.isPopoverOpen(); })) << "the popover is not closed";
    const auto isGuardedAgain = [&] {
      scene.thief.tell("modest");
      return scene.keyboard.isFloating();
    };
    ASSERT_TRUE(eventually(isGuardedAgain)) << "the tap does not come back";
    scene.expectWordSurvives(Theft::byRequest, "once the program goes on");
  }
}

TEST_F(Application, TellsOfATheftAndLetsTheThiefBeAllowed) {
  scene.begin();
  scene.expectIcon(Panel::Icon::green, "guarding");
  steal(scene.thief, Theft::byRequest);
  scene.expectIcon(Panel::Icon::orange, "at the theft");
  scene.expectIcon(Panel::Icon::green, "after the theft");

  const auto awaitOfServer = [&](const char* name) { return scene.reader.await(scene.notifications, name); };
  EXPECT_NO_THROW(awaitOfServer("Varnolet blocked stage-thief"));
  EXPECT_NO_THROW(
      awaitOfServer("stage-thief tried to steal focus from stage-editor. 0 keystrokes buffered and restored."));
  EXPECT_EQ(awaitOfServer("Dismiss").role, "push button");
  Mouse(scene.desktop.display()).click(scene.reader.placeOf(awaitOfServer("Always Allow")));
  const auto clicked = std::chrono::steady_clock::now();
  ASSERT_TRUE(scene.guard->log().waitFor("User chose 'Always Allow' for ")) << scene.guard->log().text();

  const auto settings = scene.desktop.home() / "config" / "app.varnolet.Varnolet.conf";
  EXPECT_TRUE(eventually([&] {
    std::ifstream file(settings);
    return std::string(std::istreambuf_iterator<char>(file), {}).find("stage-thief") != std::string::npos;
  })) << "the choice is not stored";
  // The click itself excuses what comes within half a second.
  std::this_thread::sleep_until(clicked + std::chrono::milliseconds(600));
  scene.expectTheftPasses("once it is allowed");
  EXPECT_EQ(scene.guard->log().countOf("Whitelisted programmatic activation: stage-thief"), 1u);
}

TEST_F(Application, PausesResumesAndQuitsFromThePopover) {
  scene.begin();
  scene.expectIcon(Panel::Icon::green, "guarding");
  scene.panel->clickIcon();
  scene.await("Varnolet Active");
  scene.reader.press(scene.await("Pause focus protection for one hour"));
  scene.await("Varnolet Paused");
  scene.expectIcon(Panel::Icon::gray, "paused");
  scene.panel->clickIcon();
  ASSERT_TRUE(eventually([&] { return !scene.isPopoverOpen(); })) << "a click on the icon leaves the popover open";
  scene.expectTheftPasses("paused");
  scene.returnToEditor();
  // Where something is typed is what is protected afterwards.
  const auto before = scene.guard->log().count();
  scene.expectKeyboardIsFree("paused");
  ASSERT_TRUE(scene.guard->log().waitFor("blessed app updated to current frontmost", before));

  // Not by a key: Enter in a popover is a command, after which an application may come to the front.
  scene.openPopover();
  scene.reader.press(scene.await("Resume focus protection"));
  scene.await("Varnolet Active");
  scene.expectIcon(Panel::Icon::green, "resumed");
  scene.closePopover();
  scene.expectWordSurvives(Theft::byRequest, "resumed");

  scene.choose("Quit Varnolet");
  EXPECT_EQ(scene.guard->process().ending(), orderly);
  scene.expectKeyboardIsFree("after quitting from the popover");
}

TEST_F(Application, ShowsTheTheftInTheLogByKeyboardAlone) {
  scene.begin();
  scene.expectWordSurvives(Theft::byRequest, "a word");
  scene.choose("View blocked events log");
  const auto table = scene.await("Blocked events table");
  scene.await("1 event");
  EXPECT_EQ(scene.reader.rowsOf(table), 1);
  for (const char* cell : {"Time", "Thief App", "Protected App", "Keystrokes", "Latency"}) scene.await(cell);
  for (const char* cell : {"stage-thief", "stage-editor"}) EXPECT_EQ(scene.await(cell).role, "cell") << cell;
  scene.typist.tapWithControl(keyW);
  EXPECT_TRUE(eventually([&] { return !scene.shows("Blocked events table"); })) << "the window stays";
}

TEST_F(Application, KeepsItsSettings) {
  const auto sound = [&] { return scene.await("Notification Sound").is(AccessibleState::checked); };
  scene.begin();
  scene.choose("Open settings");
  ASSERT_TRUE(sound());
  scene.tabTo("Notification Sound");
  scene.typist.tap(keySpace);
  EXPECT_TRUE(eventually([&] { return !sound(); }));
  ASSERT_EQ(scene.guard->stop(), orderly);

  scene.begin();
  scene.choose("Open settings");
  EXPECT_FALSE(sound()) << "after a restart";
}

TEST(Session, ThatIsSwitchedAwayOrLockedIsNotGuarded) {
  ApplicationScene scene;
  const platform::linux_desktop::PrivateBus systemBus;
  platform::linux_desktop::LoginService login(systemBus);
  scene.begin({{"DBUS_SYSTEM_BUS_ADDRESS", systemBus.address()}, {"XDG_SESSION_ID", "7"}});
  const auto logindMakesItSay = [&](const std::string& words, std::size_t times) {
    return eventually([&] {
      QCoreApplication::processEvents();
      return scene.guard->log().countOf(words) == times;
    });
  };
  ASSERT_TRUE(eventually([&] {
    QCoreApplication::processEvents();
    return login.readings() > 0;
  })) << "the program asks for no session";

  login.change(false, false);
  ASSERT_TRUE(logindMakesItSay("FocusGuardEngine stopped", 1)) << scene.guard->log().text();
  scene.expectTheftPasses("in a session that is switched away");
  scene.returnToEditor();
  login.change(true, false);
  ASSERT_TRUE(logindMakesItSay("FocusGuardEngine started", 2)) << scene.guard->log().text();
  scene.expectWordSurvives(Theft::byRequest, "in a session that came back");
  login.change(true, true);
  EXPECT_TRUE(logindMakesItSay("FocusGuardEngine stopped", 2)) << "in a locked session";
  login.change(true, false);
  EXPECT_TRUE(logindMakesItSay("FocusGuardEngine started", 3)) << "in an unlocked session";
}

}  // namespace
