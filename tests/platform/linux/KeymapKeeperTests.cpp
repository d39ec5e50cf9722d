#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <cstdlib>

#include "DesktopScene.h"
#include "EventLoop.h"
#include "platform/linux/InputDevices.h"
#include "platform/linux/KeymapKeeper.h"

namespace platform::linux_desktop {
namespace {

class KeymapKeeperTest : public testing::Test {
 protected:
  KeymapKeeperTest() {
    EXPECT_TRUE(devices.isSupported());
    devices.refresh({});
    keeper.begin();
  }
  void choose(const char* layout, DeviceId keyboard) const {
    ASSERT_TRUE(scene.desktop.run({"setxkbmap", "-device", std::to_string(keyboard), layout}));
  }
  std::string keymapOf(DeviceId keyboard) const {
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS),
                                                                             xkb_context_unref);
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        xkb_x11_keymap_new_from_device(context.get(), *connection, keyboard, XKB_KEYMAP_COMPILE_NO_FLAGS),
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

  DesktopScene scene;
  std::unique_ptr<XcbConnection> connection = XcbConnection::open();
  InputDevices devices{*connection};
  KeymapKeeper keeper{*connection};
};

TEST_F(KeymapKeeperTest, BringsToTheKeyboardsWhatTheUserChangedAndNotWhatItCopiedItself) {
  const DeviceId keyboard = devices.keyboards().front();
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

}  // namespace
}  // namespace platform::linux_desktop
