// A desktop that lacks or loses what the application would like to have, and more events than anybody reads.
#include <signal.h>
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <fstream>
#include <system_error>

#include "../platform/linux/PrivateBus.h"
#include "ApplicationScene.h"

namespace {

using namespace stage;
using std::filesystem::path;

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

TEST_F(PoorDesktop, WithoutASessionBusIsGuardedAndHasAnIcon) {
  const platform::linux_desktop::SilentBus silentBus;
  for (const std::string& address :
       {std::string("disabled:"), "unix:path=" + (scene.desktop.home() / "nowhere").string(), silentBus.address()}) {
    scene.begin({{"DBUS_SESSION_BUS_ADDRESS", address}});
    scene.expectWordSurvives(Theft::byRequest, address);
    scene.expectIcon(Panel::Icon::green, address);
    scene.panel->clickIcon();
    EXPECT_TRUE(eventually([&] { return isPopoverShown(scene.desktop.connection()); })) << address;
    EXPECT_EQ(scene.guard->stop(), orderly) << address;
    scene.expectKeyboardIsFree(address);
  }
}

TEST_F(PoorDesktop, SaysSoWithoutATrayAndShowsItsIconInOneThatComes) {
  scene.panel.reset();
  scene.begin();
  EXPECT_NO_THROW(scene.reader.await(scene.notifications, "Varnolet has no icon here"));
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
  scene.expectWordSurvives(Theft::byRequest, "the tray is gone");
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

// A file system on a folder that takes nothing.
class ReadOnlyFolder {
 public:
  explicit ReadOnlyFolder(path folder) : folder_(std::move(folder)) {
    isMounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", MS_RDONLY, "mode=0700") == 0;
    error_ = errno;
  }
  ReadOnlyFolder(const ReadOnlyFolder&) = delete;
  ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;
  ~ReadOnlyFolder() {
    if (isMounted_) ::umount2(folder_.c_str(), MNT_DETACH);
  }
  bool isMounted() const { return isMounted_; }
  int error() const { return error_; }

 private:
  path folder_;
  bool isMounted_ = false;
  int error_ = 0;
};

TEST_F(PoorDesktop, WithAReadOnlyHomeIsGuardedAndKeepsSettingsUntilTheEnd) {
  const ReadOnlyFolder data(scene.desktop.home() / "data");
  const ReadOnlyFolder config(scene.desktop.home() / "config");
  if (!data.isMounted() || !config.isMounted())
    GTEST_SKIP() << "no file system may be mounted here: " << std::generic_category().message(data.error());
  scene.begin();
  scene.expectWordSurvives(Theft::byRequest, "a read-only home");
  EXPECT_TRUE(scene.guard->log().waitFor("Failed to write blocked events: ")) << scene.guard->log().text();
  for (int i = 0; i < 2; ++i) {
    scene.choose("Open settings");
    const auto sound = scene.await("Notification Sound");
    EXPECT_EQ(sound.is(AccessibleState::checked), i == 0);
    scene.reader.press(sound);
    EXPECT_TRUE(eventually([&] { return scene.await("Notification Sound").is(AccessibleState::checked) == (i != 0); }));
    scene.typist.tapWithControl(keyW);
    ASSERT_TRUE(eventually([&] { return !scene.shows("Notification Sound"); }));
  }
  EXPECT_EQ(scene.guard->stop(), orderly);
}

void writeEvents(const path& file, int count) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file);
  const auto now = std::chrono::system_clock::now();
  for (int i = 0; i < count; ++i) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now - std::chrono::minutes(1) * (i % 9000 + 1));
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char time[32];
    std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%SZ", &utc);
    char id[40];
    std::snprintf(id, sizeof id, "00000000-0000-4000-8000-%012d", i);
    stream << (i == 0 ? "[" : ",") << R"({"id":")" << id << R"(","timestamp":")" << time
           << R"(","thiefBundleID":"thief","thiefName":"Thief","protectedBundleID":"editor","protectedName":"Editor",)"
           << R"("keystrokesBuffered":)" << i << R"(,"reactivationLatencyMs":12})";
  }
  stream << ']';
}

TEST_F(PoorDesktop, WithALogOfTenThousandEventsShowsTheLatestAndGoesOnMeanwhile) {
  writeEvents(blockedEventsFile(scene.desktop), 10'000);
  scene.begin();
  scene.choose("View blocked events log");
  scene.openPopover();
  scene.closePopover();
  const auto table = scene.await("Blocked events table");
  EXPECT_EQ(scene.reader.rowsOf(table), 100);
  scene.await("100 events");
  scene.await("Showing most recent 100 events");
  scene.typist.tapWithControl(keyW);
  ASSERT_TRUE(eventually([&] { return scene.editor.isFocused(); }));
  scene.expectWordSurvives(Theft::byRequest, "after a look at the log");
}

}  // namespace
