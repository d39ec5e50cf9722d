// A desktop that lacks or loses what the application would like to have.
#include <signal.h>

#include <algorithm>
#include <string>

#include "../platform/linux/bus/PrivateBus.h"
#include "ApplicationScene.h"

namespace {

using namespace stage;

// Without a screen reader: a window of its size that no window manager knows of.
bool isPopoverShown(const XConnection& connection) {
  constexpr std::uint16_t leastSide = 280;
  const auto tree = answer(connection, xcb_query_tree_reply, xcb_query_tree(connection, connection.root()));
  if (!tree) return false;
  const auto* windows = xcb_query_tree_children(tree.get());
  return std::any_of(windows, windows + xcb_query_tree_children_length(tree.get()), [&](xcb_window_t window) {
    const auto looks =
        answer(connection, xcb_get_window_attributes_reply, xcb_get_window_attributes(connection, window));
    const auto size = answer(connection, xcb_get_geometry_reply, xcb_get_geometry(connection, window));
    return looks && size && looks->override_redirect != 0 && looks->map_state == XCB_MAP_STATE_VIEWABLE &&
           size->width >= leastSide && size->height >= leastSide;
  });
}

class PoorDesktop : public testing::Test {
 protected:
  ApplicationScene scene;
};

TEST_F(PoorDesktop, WithoutBusesThatAnswerIsGuardedHasAnIconAndEndsWhenAsked) {
  const platform::linux_desktop::SilentBus silentBus;
  const struct {
    const char* fault;
    Environment environment;
    bool isOrdinaryUser = false;
    pid_t stopped = 0;
  } cases[] = {
      {"no session bus", {{"DBUS_SESSION_BUS_ADDRESS", "disabled:"}}},
      {"nobody at its address", {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus"}}},
      {"a silent session bus", {{"DBUS_SESSION_BUS_ADDRESS", silentBus.address()}}},
      // Who may not raise the priority of a thread asks over the system's bus.
      {"a silent system bus", {{"DBUS_SYSTEM_BUS_ADDRESS", silentBus.address()}}, true},
      {"a silent accessibility bus", {{"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"}}, false, scene.reader.bus()},
      {"a silent launcher of the accessibility bus", {}, true, scene.reader.launcher()},
  };
  for (const auto& [fault, environment, isOrdinaryUser, stopped] : cases) {
    SCOPED_TRACE(fault);
    if (stopped > 0) ::kill(stopped, SIGSTOP);
    scene.guard.emplace(scene.desktop, Guard::programUnderTest(), environment, isOrdinaryUser);
    scene.expectWordSurvives(Theft::byRequest, fault);
    scene.expectIcon(Panel::Icon::green, fault);
    scene.panel->clickIcon();
    EXPECT_TRUE(eventually([&] { return isPopoverShown(scene.desktop.connection()); })) << fault;
    EXPECT_EQ(scene.guard->stop(), orderly) << fault;
    scene.expectKeyboardIsFree(fault);
    if (stopped > 0) ::kill(stopped, SIGCONT);
  }
}

TEST_F(PoorDesktop, SaysSoWithoutATrayAndShowsItsIconInOneThatComes) {
  scene.panel.reset();
  scene.begin();
  EXPECT_NO_THROW(scene.reader.await(scene.notifications, "Varnolet has no icon here"));
  scene.expectWordSurvives(Theft::byRequest, "without a tray");
  scene.openPopover();
  scene.closePopover();
  for (const char* when : {"in a tray that came late", "in a tray that came back"}) {
    scene.panel.emplace(scene.desktop);
    scene.expectIcon(Panel::Icon::green, when);
    scene.panel->clickIcon();
    EXPECT_TRUE(eventually([&] { return scene.isPopoverOpen(); })) << when;
    scene.closePopover();
    scene.panel.reset();
  }
}

TEST_F(PoorDesktop, IsGuardedWhenItsNotificationsHangAndEnd) {
  scene.begin();
  scene.expectIcon(Panel::Icon::green, "guarding");
  scene.notificationService->signal(SIGSTOP);
  steal(scene.thief, Theft::byRequest);
  scene.expectIcon(Panel::Icon::orange, "the notifications hang");
  scene.expectWordSurvives(Theft::byRequest, "the notifications hang");
  scene.notificationService.reset();
  EXPECT_TRUE(scene.guard->log().waitFor("Failed to post block notification: ")) << scene.guard->log().text();
  scene.expectWordSurvives(Theft::byRequest, "the notifications are gone");
}

}  // namespace
