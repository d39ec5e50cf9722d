// What else happens to a desktop: menus and lockers, keyboards that come and go, window managers that change, a server
// that dies.
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;

class OtherPrograms : public UnderWindowManager {
 protected:
  Actor grabber{scene.desktop, "grabber", {"--hidden"}};

  void grab() {
    grabber.tell("grab");
    ASSERT_TRUE(grabber.waitForReport("grabbed 0")) << "no grab is to be had";
  }
  void expectKeysOnlyAtTheGrabber(const std::string& when) {
    scene.startAfresh();
    grabber.forgetKeys();
    for (std::size_t i = 0; i < 10; ++i) scene.typist.tap(characterKeys()[i]);
    EXPECT_TRUE(eventually([&] { return grabber.pressCount() >= scene.typist.pressed().size(); })) << when;
    const auto result = difference(scene.typist.pressed(), grabber.presses());
    EXPECT_TRUE(result.isNone()) << when << ": " << describe(result);
    EXPECT_EQ(scene.editor.pressCount(), 0u) << when;
    EXPECT_EQ(scene.thief.pressCount(), 0u) << when;
  }
};

TEST_P(OtherPrograms, KeepTheKeyboardThatTheyGrabbed) {
  ASSERT_NO_FATAL_FAILURE(grab());
  expectKeysOnlyAtTheGrabber("a menu is open");
  scene.thief.tell("modest");
  expectKeysOnlyAtTheGrabber("a window appears while a menu is open");
  steal(scene.thief, Theft::byRequest);
  expectKeysOnlyAtTheGrabber("the focus is stolen while a menu is open");
  grabber.tell("ungrab");
  EXPECT_TRUE(eventually([&] { return scene.editor.isFocused(); })) << "the editor stays behind";
  scene.expectAllKeysUp("the menu is closed");
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "after a menu"));
}

TEST_P(OtherPrograms, MayGrabTheKeyboardWhileTheGateIsClosed) {
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  ASSERT_NO_FATAL_FAILURE(grab());
  expectKeysOnlyAtTheGrabber("a menu opened while the gate was closed");
  grabber.tell("ungrab");
  scene.startAfresh();
  scene.typist.tap(keyA);
  EXPECT_TRUE(scene.editorGotAll()) << scene.account();
  EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
  scene.expectAllKeysUp("the menu is closed");
}

TEST_P(OtherPrograms, GrabWithAKeyDownAndLeaveNoneBehind) {
  scene.typist.press(keyLeftControl);
  ASSERT_TRUE(scene.editorGotAll());
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  ASSERT_NO_FATAL_FAILURE(grab());
  scene.typist.release(keyLeftControl);
  scene.expectAllKeysUp("released during the grab");
  grabber.tell("ungrab");
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byNewWindow, "after the grab"));
}

TEST_P(OtherPrograms, GetNothingThatWasTypedBeforeTheyGrabbed) {
  using namespace std::chrono;
  constexpr milliseconds grabLasts = 250ms;
  for (const milliseconds later : {10ms, 30ms, 60ms, 90ms}) {
    scene.startAfresh();
    scene.typist.tap(keyA);
    ASSERT_TRUE(scene.editorGotAll());
    steal(scene.thief, Theft::byRequest);
    const auto stolen = steady_clock::now();
    for (std::size_t i = 0; steady_clock::now() - stolen < later; ++i) {
      scene.typist.tap(characterKeys()[i % characterKeys().size()]);
      std::this_thread::sleep_for(3ms);
    }
    scene.thief.tell("grab");
    std::this_thread::sleep_for(grabLasts);
    scene.thief.tell("ungrab");
    EXPECT_TRUE(scene.editorGotAll()) << "grabbed after " << later.count() << " ms: " << scene.account();
    EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
    EXPECT_EQ(scene.thief.pressCount(), 0u) << "grabbed after " << later.count() << " ms";
    EXPECT_TRUE(eventually([&] { return scene.editor.isFocused(); })) << "the editor stays behind";
  }
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(OtherPrograms);

class Keyboards : public UnderWindowManager {
 protected:
  // A keyboard that is pulled out takes the finger's key with it.
  void pullOutWithAKeyDownAndPlugIn(const std::string& when) {
    scene.startAfresh();
    scene.typist.press(keyA);
    ASSERT_TRUE(scene.editorGotAll()) << when;
    scene.expectKeysMatchFingers(when);
    scene.keyboard.setEnabled(false);
    EXPECT_TRUE(eventually([&] { return scene.keyboard.keysDown().none(); }))
        << when << ": after it was pulled out still down " << listOf(scene.keyboard.keysDown());
    scene.keyboard.setEnabled(true);
    scene.typist.release(keyA);
    scene.expectKeysMatchFingers(when + ", plugged in again");
  }
};

TEST_P(Keyboards, LeaveNoKeyDownWhenTheyGoAndAreCoveredWhenTheyComeBack) {
  ASSERT_NO_FATAL_FAILURE(pullOutWithAKeyDownAndPlugIn("the gate open"));
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "plugged in again"));
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  ASSERT_NO_FATAL_FAILURE(pullOutWithAKeyDownAndPlugIn("the gate closed"));
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byNewWindow, "plugged in again with the gate closed"));
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  scene.expectAllKeysUp("afterwards");
}

TEST_P(Keyboards, AreTakenAnewWhenOthersAttachThemAndLeftWhenOthersMakeThemFloat) {
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  scene.keyboard.setAttached(true);
  ASSERT_TRUE(eventually([&] { return scene.keyboard.isFloating(); })) << "attached by others, and not taken anew";
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "attached anew"));
  scene.keyboard.setAttached(false);
  ASSERT_TRUE(eventually([&] { return scene.keyboard.isFree(); })) << "made to float, and still held";
  scene.guard.reset();
  EXPECT_TRUE(scene.keyboard.isFloating()) << "made to float by others, and attached again";
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(Keyboards);

class Sessions : public UnderWindowManager {};

TEST_P(Sessions, MayChangeTheirWindowManager) {
  const auto other = GetParam() == WindowManager::openbox ? WindowManager::xfwm4 : WindowManager::openbox;
  for (const auto next : {GetParam(), other}) {
    scene.desktop.replaceWindowManager(next);
    scene.desktop.activate(scene.editor.window());
    ASSERT_TRUE(eventually([&] { return scene.editor.isFocused(); }));
    ASSERT_TRUE(scene.guard->process().isRunning()) << scene.guard->log().text();
    for (const auto theft : {Theft::byRequest, Theft::byNewWindow}) {
      ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(theft, "under the new " + nameOf(next)));
    }
  }
}

TEST_P(Sessions, EndWithTheirServerAndTheGuardEndsToo) {
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  scene.desktop.killServer();
  const auto ending = scene.guard->process().ending();
  ASSERT_TRUE(ending) << "the guard outlives its display";
  EXPECT_FALSE(ending->signal) << describe(*ending);
  EXPECT_TRUE(eventually([&] { return scene.guard->process().processes().empty(); }))
      << "the guard left a process behind";
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(Sessions);

}  // namespace
