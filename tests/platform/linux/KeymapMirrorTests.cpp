#include <gtest/gtest.h>

#include "DesktopScene.h"
#include "EventLoop.h"
#include "platform/linux/InputDevices.h"
#include "platform/linux/KeymapMirror.h"

namespace platform::linux_desktop {
namespace {

class KeymapMirrorTest : public testing::Test {
 protected:
  KeymapMirrorTest() {
    EXPECT_TRUE(devices.isSupported());
    devices.refresh({});
  }
  DeviceId keyboard() const { return devices.keyboards().front(); }
  bool becomesIdle() {
    return runUntil([this] { return mirror.isIdle(); });
  }

  DesktopScene scene;
  std::unique_ptr<XcbConnection> connection = XcbConnection::open();
  InputDevices devices{*connection};
  KeymapMirror mirror;
};

TEST_F(KeymapMirrorTest, KeyboardsThatAreNotThereAreNoHarm) {
  constexpr DeviceId nowhere = 200;
  mirror.copy(nowhere, keyboard());
  mirror.copy(keyboard(), nowhere);
  mirror.copy(nowhere, nowhere + 1);
  EXPECT_TRUE(becomesIdle());
  EXPECT_FALSE(connection->isLost());
}

TEST_F(KeymapMirrorTest, TheEndOfTheServerEndsNeitherTheProcessNorTheCopies) {
  ASSERT_TRUE(scene.desktop.run({"setxkbmap", "-device", std::to_string(keyboard()), "de"}));
  mirror.copy(keyboard(), *devices.xtestKeyboard());  // under way when the server ends
  scene.desktop.killServer();
  for (int i = 0; i < 500; ++i) {
    mirror.copy(keyboard(), *devices.xtestKeyboard());
    ASSERT_TRUE(becomesIdle());
  }
}

}  // namespace
}  // namespace platform::linux_desktop
