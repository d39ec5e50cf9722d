// The scene of most tests: a desktop on which an editor is in front, the guard watches, and a thief waits.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/stage/Actors.h"
#include "tools/stage/Guard.h"
#include "tools/stage/Keyboard.h"
#include "tools/stage/Transcript.h"
#include "tools/stage/Typist.h"
#include "tools/stage/VirtualDesktop.h"

namespace stage {

struct Scene {
  // Without a guard as yet.
  explicit Scene(WindowManager manager);

  void beginGuarding() { guard.emplace(desktop); }

  // A word typed at a steady pace, with a theft after its third key. Fails the test unless all of it arrives.
  void expectWordSurvives(Theft theft, const std::string& when);
  // Waits until the editor was given as many presses as there were.
  bool editorGotAll();
  // What became of everything typed since the last startAfresh(), at the editor.
  Difference lostAndDoubled() const;
  // The same in words, with where the rest went and what the guard last said.
  std::string account() const;
  void startAfresh();

  // Has the guard close its gate, as it does when focus may move, without a theft.
  void closeGate();
  void waitUntilGateOpens();
  // Waits until what the server shows as held down is what the fingers hold down.
  void expectKeysMatchFingers(const std::string& when);
  // Waits until no keyboard holds anything down, shown or not.
  void expectAllKeysUp(const std::string& when);

  VirtualDesktop desktop;
  Keyboard keyboard{desktop.connection()};
  Typist typist{desktop.display()};
  Actor thief{desktop, "thief"};
  Actor editor{desktop, "editor"};
  std::optional<Guard> guard;
};

// A number that an environment variable sets.
std::size_t fromEnvironment(const char* variable, std::size_t otherwise);

// What the program under test has logged as blocked, waited for until there are at least so many: "thief > protected"
// for each, by name. Fails the test if the file is not a log.
std::vector<std::string> blockedEvents(const VirtualDesktop& desktop, std::size_t atLeast);

// A suite of which each test runs under each window manager.
class UnderWindowManager : public testing::TestWithParam<WindowManager> {
 protected:
  void SetUp() override { scene.beginGuarding(); }
  Scene scene{GetParam()};
};
#define INSTANTIATE_UNDER_WINDOW_MANAGERS(suite)                                                                   \
  INSTANTIATE_TEST_SUITE_P(On, suite, testing::Values(stage::WindowManager::openbox, stage::WindowManager::xfwm4), \
                           [](const auto& parameter) { return stage::nameOf(parameter.param); })

}  // namespace stage
