// A keyboard whose layout is not the one that the server's test device starts with.
#include <algorithm>
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;

constexpr KeyCode keyQ = 24;
constexpr KeyCode keyY = 29;
constexpr KeyCode keyZ = 52;
constexpr KeyCode keyOdiaeresis = 47;
constexpr KeyCode keyAdiaeresis = 48;
constexpr std::uint32_t symbolY = 'y';
constexpr std::uint32_t symbolZ = 'z';
constexpr std::uint32_t symbolAt = '@';
constexpr std::uint32_t symbolAdiaeresis = 0xe4;
constexpr std::uint32_t symbolCapitalAdiaeresis = 0xc4;
constexpr std::uint32_t symbolOdiaeresis = 0xf6;

class Layouts : public UnderWindowManager {
 protected:
  void SetUp() override {}  // the layout is there before the guard

  void setLayout(const std::vector<std::string>& options) {
    std::vector<std::string> command{"setxkbmap"};
    command.insert(command.end(), options.begin(), options.end());
    ASSERT_TRUE(scene.desktop.run(command));
  }
  std::string hardware() const { return std::to_string(scene.keyboard.hardware()); }

  // What a key writes, from what the editor makes of it.
  std::uint32_t symbolOf(KeyCode key) {
    EXPECT_TRUE(scene.editorGotAll()) << scene.account();
    scene.startAfresh();
    scene.typist.tap(key);
    EXPECT_TRUE(scene.editorGotAll()) << scene.account();
    const auto keys = scene.editor.keys();
    // The release of a key before it may still come first.
    const auto press =
        std::find_if(keys.begin(), keys.end(), [&](auto& each) { return each.isPress && each.key == key; });
    return press == keys.end() ? 0 : press->keysym;
  }
  std::vector<std::uint32_t> symbols() const {
    std::vector<std::uint32_t> symbols;
    for (const auto& key : scene.editor.keys()) {
      const bool isModifier = key.key == keyRightAlt || key.key == keyLeftShift;
      if (key.isPress && !isModifier) symbols.push_back(key.keysym);
    }
    return symbols;
  }
  void typeGerman() {
    const auto slowly = [] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); };
    for (const auto key : {keyY, keyZ, keyAdiaeresis, keyOdiaeresis}) {
      scene.typist.tap(key);
      slowly();
    }
    scene.typist.press(keyRightAlt);
    scene.typist.tap(keyQ);
    scene.typist.release(keyRightAlt);
    slowly();
    scene.typist.press(keyLeftShift);
    scene.typist.tap(keyAdiaeresis);
    scene.typist.release(keyLeftShift);
  }
  const std::vector<std::uint32_t> german{symbolZ,          symbolY,  symbolAdiaeresis,
                                          symbolOdiaeresis, symbolAt, symbolCapitalAdiaeresis};
};

TEST_P(Layouts, WriteDuringATheftWhatTheyWriteOtherwise) {
  ASSERT_NO_FATAL_FAILURE(setLayout({"-device", hardware(), "de"}));
  typeGerman();
  ASSERT_TRUE(scene.editorGotAll());
  ASSERT_EQ(symbols(), german) << "without a guard";
  scene.beginGuarding();
  for (const auto theft : {Theft::byRequest, Theft::byNewWindow}) {
    scene.startAfresh();
    steal(scene.thief, theft);
    for (int i = 0; i < 3; ++i) typeGerman();
    auto expected = german;
    for (int i = 1; i < 3; ++i) expected.insert(expected.end(), german.begin(), german.end());
    // A modifier by itself starts no capture: its press may have gone to the thief, and counts all the same.
    ASSERT_TRUE(eventually([&] { return symbols().size() >= expected.size(); })) << scene.account();
    EXPECT_EQ(symbols(), expected) << "during " << nameOf(theft);
    scene.startAfresh();
    ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
    EXPECT_EQ(symbolOf(keyY), symbolZ) << "after " << nameOf(theft);
  }
  scene.expectAllKeysUp("afterwards");
}

TEST_P(Layouts, ChangedBeforeATheftAreFollowed) {
  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(setLayout({"-device", hardware(), "de"}));
  EXPECT_EQ(symbolOf(keyY), symbolZ);
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate closed";
  EXPECT_EQ(symbolOf(keyAdiaeresis), symbolAdiaeresis) << "the gate closed";
}

TEST_P(Layouts, SetWhileTheGateIsClosedStay) {
  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  ASSERT_EQ(symbolOf(keyY), symbolY);
  ASSERT_NO_FATAL_FAILURE(setLayout({"de"}));
  ASSERT_TRUE(scene.keyboard.isFloating()) << "the gate opened too early for this test";
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate still closed";
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate open again";
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate closed again";
}

TEST_P(Layouts, SwitchedWhileTheGateIsClosedStay) {
  ASSERT_NO_FATAL_FAILURE(setLayout({"us,de"}));
  scene.beginGuarding();
  ASSERT_EQ(symbolOf(keyY), symbolY);
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  ASSERT_EQ(symbolOf(keyY), symbolY);
  scene.keyboard.lockGroup(1);
  ASSERT_TRUE(scene.keyboard.isFloating()) << "the gate opened too early for this test";
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate still closed";
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate open again";
  scene.keyboard.lockGroup(0);
  EXPECT_EQ(symbolOf(keyY), symbolY) << "switched back";
}

// The layout is switched by a key of the keyboard itself, as many people do.
TEST_P(Layouts, SwitchedByAKeyDuringATheftStay) {
  ASSERT_NO_FATAL_FAILURE(setLayout({"us,de", "-option", "grp:menu_toggle"}));
  constexpr KeyCode keyMenu = 135;
  scene.beginGuarding();
  ASSERT_EQ(symbolOf(keyY), symbolY);
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  scene.typist.tap(keyMenu);
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate still closed";
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  EXPECT_EQ(symbolOf(keyY), symbolZ) << "the gate open again";
}

TEST_P(Layouts, LeaveCapsLockAsItWasPressed) {
  constexpr KeyCode keyCapsLock = 66;
  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  scene.typist.tap(keyCapsLock);
  EXPECT_EQ(symbolOf(keyY), std::uint32_t{'Y'}) << "the gate still closed";
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  EXPECT_EQ(symbolOf(keyY), std::uint32_t{'Y'}) << "the gate open again";
  scene.typist.tap(keyCapsLock);
  EXPECT_EQ(symbolOf(keyY), symbolY) << "switched off again";
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(Layouts);

}  // namespace
