#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/x11/WindowOwners.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tools/stage/Waiting.h"

namespace platform::linux_desktop {
namespace {

class WindowOwnersTest : public testing::Test {
 protected:
  explicit WindowOwnersTest(stage::WindowManager manager = stage::WindowManager::openbox) : scene(manager) {}

  void manage(Application& owner, xcb_window_t window) {
    owner.map(window);
    ASSERT_TRUE(stage::eventually([&] { return scene.isManaged(window); }));
  }
  std::optional<pid_t> ownerOf(xcb_window_t window) {
    owners.forgetAll();
    return owners.ownerOf(window);
  }

  DesktopScene scene;
  Application application{scene.desktop};
  Application other{scene.desktop};
  std::unique_ptr<XcbConnection> connection = XcbConnection::open();
  WindowOwners owners{*connection};
};

class WindowFramesTest : public WindowOwnersTest, public testing::WithParamInterface<stage::WindowManager> {
 protected:
  WindowFramesTest() : WindowOwnersTest(GetParam()) {}
};

TEST_P(WindowFramesTest, AClientItsInsideAndItsFrameBelongToTheirProcess) {
  const xcb_window_t window = application.create();
  const xcb_window_t innermost = application.createInside(application.createInside(window));
  EXPECT_EQ(ownerOf(window), application.process()) << "before anybody manages it";
  manage(application, window);
  EXPECT_EQ(ownerOf(window), application.process());
  EXPECT_EQ(ownerOf(innermost), application.process());
  ASSERT_NE(scene.parentOf(window), connection->root());
  EXPECT_EQ(ownerOf(scene.parentOf(window)), application.process());
  EXPECT_EQ(owners.clientWindowOf(innermost), window);
}

INSTANTIATE_TEST_SUITE_P(On, WindowFramesTest,
                         testing::Values(stage::WindowManager::openbox, stage::WindowManager::xfwm4),
                         [](const auto& parameter) { return stage::nameOf(parameter.param); });

TEST_F(WindowOwnersTest, WhatIsNobodysHasNoOwner) {
  for (const char* type :
       {"_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_NOTIFICATION",
        "_NET_WM_WINDOW_TYPE_TOOLTIP", "_NET_WM_WINDOW_TYPE_POPUP_MENU"}) {
    const xcb_window_t window = application.create();
    scene.setType(window, type);
    EXPECT_EQ(ownerOf(window), std::nullopt) << type;
    manage(application, window);
    EXPECT_EQ(ownerOf(window), std::nullopt) << type;
  }
  const xcb_window_t popup = application.create("create-override-redirect");
  application.map(popup);
  EXPECT_EQ(ownerOf(application.createInside(popup)), std::nullopt);
  const xcb_window_t gone = application.create();
  application.destroy(gone);
  for (const xcb_window_t window : {gone, connection->root(), xcb_window_t{XCB_WINDOW_NONE},
                                    xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT}, xcb_window_t{0x7FFFFFFF}}) {
    EXPECT_EQ(ownerOf(window), std::nullopt);
  }
}

TEST_F(WindowOwnersTest, ATransientWindowBelongsToTheApplicationThatItIsTransientFor) {
  const xcb_window_t document = application.create();
  manage(application, document);
  const xcb_window_t dialog = other.create();
  const xcb_window_t dialogOfDialog = other.create();
  scene.setWindow(dialog, "WM_TRANSIENT_FOR", document);
  scene.setWindow(dialogOfDialog, "WM_TRANSIENT_FOR", dialog);
  EXPECT_EQ(ownerOf(dialogOfDialog), application.process());
  manage(other, dialog);
  EXPECT_EQ(ownerOf(dialog), application.process());
  application.destroy(document);
  EXPECT_EQ(ownerOf(dialog), other.process()) << "of its own process once the other window is gone";
}

TEST_F(WindowOwnersTest, ATransientThatLeadsNowhereBelongsToItsOwnProcess) {
  const xcb_window_t window = application.create();
  const xcb_window_t panel = other.create();
  scene.setType(panel, "_NET_WM_WINDOW_TYPE_DOCK");
  for (const xcb_window_t target : {connection->root(), window, xcb_window_t{0x7FFFFFFF}, panel}) {
    scene.setWindow(window, "WM_TRANSIENT_FOR", target);
    EXPECT_EQ(ownerOf(window), application.process()) << target;
  }
  const xcb_window_t counterpart = other.create();
  scene.setWindow(window, "WM_TRANSIENT_FOR", counterpart);
  scene.setWindow(counterpart, "WM_TRANSIENT_FOR", window);
  EXPECT_EQ(ownerOf(window), application.process());
  EXPECT_EQ(ownerOf(counterpart), other.process());
}

// The question may be asked while the whole server waits for the answer.
TEST_F(WindowOwnersTest, AWindowWithMoreInsideThanAnyFrameIsNotSearchedToItsEnd) {
  const auto fill = [this](xcb_window_t window, int count) {
    for (; count > 0; --count) {
      xcb_create_window(*connection, XCB_COPY_FROM_PARENT, xcb_generate_id(*connection), window, 0, 0, 1, 1, 0,
                        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    }
    xcb_flush(*connection);
  };
  const xcb_window_t frame = other.create();
  fill(frame, 10);
  const xcb_window_t client = application.createInside(frame);
  scene.setWindow(connection->root(), "_NET_CLIENT_LIST", client);
  EXPECT_EQ(ownerOf(frame), application.process());

  const xcb_window_t crowd = other.create();
  fill(crowd, 2000);
  ownerOf(crowd);  // by then the server has made them all
  scene.setWindow(connection->root(), "_NET_CLIENT_LIST", application.createInside(other.createInside(crowd)));
  const std::uint32_t before = xcb_no_operation(*connection).sequence;
  EXPECT_EQ(ownerOf(crowd), other.process());
  EXPECT_LT(xcb_no_operation(*connection).sequence - before, 100U) << "requests";
}

TEST_F(WindowOwnersTest, PropertiesOfTheWrongTypeAreNoHarm) {
  const xcb_window_t window = application.create();
  for (const char* property : {"WM_TRANSIENT_FOR", "_NET_WM_WINDOW_TYPE", "_NET_WM_PID", "WM_CLIENT_MACHINE"}) {
    scene.setText(window, property, std::string(70000, '\xff'));
  }
  EXPECT_EQ(ownerOf(window), application.process());
  scene.setText(window, "WM_TRANSIENT_FOR", "");
  EXPECT_EQ(ownerOf(window), application.process());
}

}  // namespace
}  // namespace platform::linux_desktop
