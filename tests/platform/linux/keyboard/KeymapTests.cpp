#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <cstdlib>

#include "platform/linux/keyboard/KeymapKeeper.h"
#include "platform/linux/keyboard/KeymapMirror.h"
#include "platform/linux/x11/InputDevices.h"
#include "platform/linux/x11/Xkb.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tests/platform/linux/EventLoop.h"

namespace platform::linux_desktop {
namespace {

class KeymapTest : public testing::Test {
 protected:
  KeymapTest() {
    EXPECT_TRUE(devices.isSupported());
    devices.refresh({});
    keyboard = devices.keyboards().front();
  }
  void choose(const char* layout, DeviceId device) const {
    ASSERT_TRUE(scene.desktop.run({"setxkbmap", "-device", std::to_string(device), layout}));
  }

  DesktopScene scene;
  std::unique_ptr<XcbConnection> connection = XcbConnection::open();
  InputDevices devices{*connection};
  DeviceId keyboard = 0;
};

class KeymapKeeperTest : public KeymapTest {
 protected:
  KeymapKeeperTest() { keeper.begin(); }
  std::string keymapOf(DeviceId device) const {
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS),
                                                                             xkb_context_unref);
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        xkb_x11_keymap_new_from_device(context.get(), *connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS),
        xkb_keymap_unref);
    const XcbOwned<char> text(xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1));
    return text.get();
  }
  // Shows the keeper what has come in while the gate was closed; says how much that was.
  int handleEvents() {
    int count = 0;
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(*connection)}) {
      if (!keeper.isKeymapEvent(*event)) continue;
      keeper.handle(*event, true);
      ++count;
    }
    return count;
  }
  void openGate() {
    ASSERT_TRUE(runUntil([this] { return keeper.isReadyToOpen(); }));
  }

  KeymapKeeper keeper{*connection};
};

TEST_F(KeymapKeeperTest, BringsToTheKeyboardsWhatTheUserChangedAndNotWhatItCopiedItself) {
  const DeviceId xtest = *devices.xtestKeyboard();
  const DeviceId other = *devices.masterKeyboard();
  choose("de", keyboard);
  choose("fr", xtest);
  keeper.setDevices({keyboard}, xtest, other);
  const std::string german = keymapOf(keyboard);
  const std::string french = keymapOf(xtest);
  ASSERT_NE(keymapOf(other), french);

  // Somebody types on another keyboard, and the copies' events are read only long after.
  keeper.keyboardTypes(other);
  runFor(std::chrono::milliseconds(500));
  keeper.noteEndOfCopies();
  EXPECT_GT(handleEvents(), 0);
  EXPECT_EQ(keymapOf(xtest), keymapOf(other));
  openGate();
  EXPECT_EQ(keymapOf(keyboard), german) << "the keyboard got the other one's layout";

  choose("fr", xtest);
  EXPECT_GT(handleEvents(), 0);
  openGate();
  EXPECT_EQ(keymapOf(keyboard), french) << "the user's choice is lost";
}

class KeymapMirrorTest : public KeymapTest {
 protected:
  // As programs read it that show or change the layout.
  std::string nameOfSymbols(DeviceId device) const {
    const auto names = replyTo(*connection, xcb_xkb_get_names_reply,
                               xcb_xkb_get_names(*connection, device, XCB_XKB_NAME_DETAIL_SYMBOLS));
    xcb_xkb_get_names_value_list_t values{};
    xcb_xkb_get_names_value_list_unpack(xcb_xkb_get_names_value_list(names.get()), names->nTypes, names->indicators,
                                        names->virtualMods, names->groupNames, names->nKeys, names->nKeyAliases,
                                        names->nRadioGroups, names->which, &values);
    const auto name = replyTo(*connection, xcb_get_atom_name_reply, xcb_get_atom_name(*connection, values.symbolsName));
    return {xcb_get_atom_name_name(name.get()), name->name_len};
  }
  bool becomesIdle() {
    return runUntil([this] { return mirror.isIdle(); });
  }

  KeymapMirror mirror;
};

TEST_F(KeymapMirrorTest, CopiesTheNamesAsTheyAre) {
  choose("de", keyboard);
  mirror.copy(keyboard, *devices.xtestKeyboard());
  ASSERT_TRUE(becomesIdle());
  ASSERT_EQ(nameOfSymbols(keyboard), "pc+de+inet(evdev)");
  EXPECT_EQ(nameOfSymbols(*devices.xtestKeyboard()), nameOfSymbols(keyboard));
}

TEST_F(KeymapMirrorTest, KeyboardsThatAreNotThereAreNoHarm) {
  constexpr DeviceId nowhere = 200;
  mirror.copy(nowhere, keyboard);
  mirror.copy(keyboard, nowhere);
  mirror.copy(nowhere, nowhere + 1);
  EXPECT_TRUE(becomesIdle());
  EXPECT_FALSE(connection->isLost());
}

TEST_F(KeymapMirrorTest, TheEndOfTheServerEndsNeitherTheProcessNorTheCopies) {
  choose("de", keyboard);
  mirror.copy(keyboard, *devices.xtestKeyboard());  // under way when the server ends
  scene.desktop.killServer();
  for (int i = 0; i < 500; ++i) {
    mirror.copy(keyboard, *devices.xtestKeyboard());
    ASSERT_TRUE(becomesIdle());
  }
}

}  // namespace
}  // namespace platform::linux_desktop
