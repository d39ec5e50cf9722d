// What goes wrong while a stolen focus is being given back: the application that is to have it, the window manager, the
// X server. The keyboard is free in the end, nothing held reaches the thief, and the next theft is undone as ever.
#include <algorithm>
#include <csignal>
#include <functional>
#include <thread>

#include "Scene.h"
#include "tools/stage/Mouse.h"

namespace {

using namespace stage;
using std::chrono::milliseconds;

struct Fault {
  const char* name;
  // Once the return has been asked for, by which time the window manager stands still; after some more keys; after the
  // keys typed when the return was done or given up.
  std::function<void(Scene&)> begin;
  std::function<void(Scene&)> end;
  std::function<void(Scene&)> mend;
  bool comesBack = true;
};
void PrintTo(const Fault& fault, std::ostream* out) {
  *out << fault.name;
}

void doNothing(Scene&) {}
void letManagerGoOn(Scene& scene) {
  scene.desktop.signalWindowManager(SIGCONT);
}
void clickBeside(Scene& scene) {
  Mouse(scene.desktop.display()).click({790, 590});
}
void activateEditor(Scene& scene) {
  scene.desktop.send("_NET_WM_DESKTOP", scene.editor.window(), 0);
  clickBeside(scene);
  scene.desktop.activate(scene.editor.window());
}

const Fault faults[] = {
    {"WindowDestroyed",
     [](Scene& scene) {
       scene.editor.tell("destroy");
       letManagerGoOn(scene);
     },
     doNothing,
     [](Scene& scene) {
       clickBeside(scene);
       scene.editor.tell("map");
     },
     false},
    {"ApplicationHangs",
     [](Scene& scene) {
       scene.editor.signal(SIGSTOP);
       letManagerGoOn(scene);
     },
     [](Scene& scene) { scene.editor.signal(SIGCONT); }, doNothing},
    {"WindowSentToAnotherWorkspace",
     [](Scene& scene) {
       scene.desktop.send("_NET_WM_DESKTOP", scene.editor.window(), 1);
       letManagerGoOn(scene);
     },
     doNothing, activateEditor, false},
    {"WindowMinimised",
     [](Scene& scene) {
       scene.editor.tell("minimise");
       letManagerGoOn(scene);
     },
     doNothing, activateEditor, false},
    {"ManagerIgnoresIt", doNothing, doNothing, letManagerGoOn},
    {"ManagerKilled", [](Scene& scene) { scene.desktop.signalWindowManager(SIGKILL); },
     [](Scene& scene) { scene.desktop.replaceWindowManager(WindowManager::openbox); }, doNothing},
    {"ServerGrabbed",
     [](Scene& scene) {
       letManagerGoOn(scene);
       xcb_grab_server(scene.desktop.connection());
       scene.desktop.connection().sync();
     },
     [](Scene& scene) {
       std::this_thread::sleep_for(milliseconds(300));
       xcb_ungrab_server(scene.desktop.connection());
       xcb_flush(scene.desktop.connection());
     },
     doNothing},
};

class TheftFaults : public testing::TestWithParam<Fault> {
 protected:
  // Keys that differ, as long as there are any.
  std::vector<KeyCode> type(std::size_t count, milliseconds pace) {
    const std::size_t first = scene.typist.pressed().size();
    for (std::size_t i = first; i < first + count; ++i) {
      scene.typist.tap(characterKeys()[i % characterKeys().size()]);
      std::this_thread::sleep_for(pace);
    }
    return {scene.typist.pressed().begin() + static_cast<std::ptrdiff_t>(first), scene.typist.pressed().end()};
  }
  bool hasEnded() const {
    const auto lines = scene.guard->log().all();
    const auto since = [&](auto from, std::string_view words) {
      return std::find_if(from, lines.end(), [&](auto& line) { return line.find(words) != std::string::npos; });
    };
    const auto asked = since(lines.begin(), asking);
    return std::any_of(std::begin(endings), std::end(endings),
                       [&](const char* words) { return since(asked, words) != lines.end(); });
  }
  // As if the window manager had agreed, which then answers nothing.
  void stealWhileTheManagerStandsStill() {
    scene.desktop.signalWindowManager(SIGSTOP);
    const auto& connection = scene.desktop.connection();
    const xcb_window_t thief = scene.thief.window();
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, connection.root(), connection.atom("_NET_ACTIVE_WINDOW"),
                        XCB_ATOM_WINDOW, 32, 1, &thief);
    connection.sync();
    steal(scene.thief, Theft::byInputFocus);
    ASSERT_TRUE(eventually([&] { return scene.thief.isFocused(); }));
    ASSERT_TRUE(eventually([&] {
      type(1, milliseconds(1));
      return scene.guard->log().countOf(asking) > 0;
    })) << scene.account();
  }

  static constexpr const char* asking = "Re-activation call took";
  static constexpr const char* endings[] = {"Re-activation confirmed", "Intercept timed out", "Blessed app terminated"};

  Scene scene{WindowManager::openbox};
};

TEST_P(TheftFaults, AreOutlived) {
  const auto& fault = GetParam();
  scene.guard.emplace(scene.desktop, Guard::programUnderTest(), Environment{}, true);
  type(3, milliseconds(10));
  ASSERT_TRUE(scene.editorGotAll());
  ASSERT_NO_FATAL_FAILURE(stealWhileTheManagerStandsStill());
  fault.begin(scene);
  type(5, milliseconds(10));
  fault.end(scene);
  ASSERT_TRUE(eventually([&] { return hasEnded(); })) << scene.account();
  EXPECT_EQ(scene.thief.pressCount(), 0u) << scene.account();
  const auto later = type(3, milliseconds(10));
  if (fault.comesBack) {
    EXPECT_TRUE(scene.editorGotAll()) << scene.account();
    EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
    EXPECT_EQ(scene.thief.pressCount(), 0u) << scene.account();
  } else {
    EXPECT_TRUE(eventually([&] { return scene.thief.pressCount() >= later.size(); })) << scene.account();
    EXPECT_EQ(scene.thief.presses(), later) << scene.account();
    EXPECT_TRUE(scene.lostAndDoubled().surplus.empty()) << scene.account();
  }
  fault.mend(scene);
  ASSERT_TRUE(eventually([&] { return scene.editor.isFocused(); })) << scene.account();
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  for (const auto theft : {Theft::byRequest, Theft::byNewWindow}) {
    ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(theft, "afterwards"));
  }
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  scene.expectAllKeysUp("afterwards");
}

INSTANTIATE_TEST_SUITE_P(Where, TheftFaults, testing::ValuesIn(faults),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

}  // namespace
