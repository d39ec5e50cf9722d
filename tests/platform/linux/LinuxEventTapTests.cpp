#include <gtest/gtest.h>

#include "DesktopScene.h"
#include "EventLoop.h"
#include "platform/linux/LinuxEventTap.h"
#include "tests/desktop/stage/Keyboard.h"

namespace platform::linux_desktop {
namespace {

class LinuxEventTapTest : public testing::Test {
 protected:
  static CGEvent* letPass(CGEventTapProxy, CGEventType, CGEvent& event, void*) { return &event; }
  // Lets the tap do all that has come in until `done` holds.
  bool performUntil(const std::function<bool()>& done) {
    return runUntil([&] {
      while (source->perform()) continue;
      return done();
    });
  }

  DesktopScene scene;
  stage::Keyboard keyboard{scene.desktop.connection()};
  Application application{scene.desktop};
  std::shared_ptr<LinuxEventTap> tap =
      LinuxEventTap::create(CGEventTapOptions::active, ~CGEventMask{0}, letPass, nullptr);
  std::shared_ptr<PolledSource> source = std::dynamic_pointer_cast<PolledSource>(tap->createSource());
};

TEST_F(LinuxEventTapTest, AKeyboardThatComesBackUnderItsNumberBeforeItWasMissedIsHeldAgain) {
  application.createMapped();  // the focus may move
  ASSERT_TRUE(performUntil([&] { return keyboard.isFloating(); }));
  xcb_grab_server(scene.desktop.connection());  // so that the tap learns of all at once
  for (const bool enabled : {false, true, false, true}) keyboard.setEnabled(enabled);
  xcb_ungrab_server(scene.desktop.connection());
  ASSERT_FALSE(keyboard.isFloating());
  EXPECT_TRUE(performUntil([&] { return keyboard.isFloating(); }));
  EXPECT_TRUE(performUntil([&] { return !keyboard.isFloating(); })) << "held, and nobody knows of it";
}

}  // namespace
}  // namespace platform::linux_desktop
