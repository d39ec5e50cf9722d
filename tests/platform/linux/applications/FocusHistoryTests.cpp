#include <gtest/gtest.h>

#include "platform/linux/applications/FocusHistory.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

TEST(FocusHistoryTest, KnowsWhichWindowWentOutOfSightByATheft) {
  constexpr pid_t editor = 1;
  constexpr pid_t thief = 2;
  const struct {
    const char* what;
    std::chrono::milliseconds switched, left, arrived;
    std::uint32_t workspace;  // where the editor's window is
    bool expected;
  } cases[] = {
      {"the switch first", 1000ms, 1010ms, 1020ms, 0, true},
      {"the focus first", 1020ms, 1000ms, 1000ms, 0, true},
      {"the user went before the thief came", 1000ms, 1000ms, 1300ms, 0, false},
      {"the user left the window before", 1300ms, 1000ms, 1300ms, 0, false},
      {"the window was elsewhere before", 1000ms, 1000ms, 1000ms, 2, false},
  };
  for (const auto& [what, switched, left, arrived, workspace, expected] : cases) {
    const auto at = [](std::chrono::milliseconds time) { return FocusHistory::Moment(time); };
    FocusHistory history;
    history.noteWorkspace(0, at(0ms));
    history.noteFront({editor, 10, 11}, at(10ms));
    history.noteFront({}, at(left));
    history.noteWorkspace(1, at(switched));
    history.noteFront({thief, 20, 20}, at(arrived));
    EXPECT_EQ(history.lostItToSwitchFrom(editor, workspace), expected) << what;
    EXPECT_EQ(history.lastOf(editor)->focus, 11U) << what;
  }
}

TEST(FocusHistoryTest, TakesAWindowThatHadTheFocusForAMomentForNobodysPredecessorButWhoHadItBefore) {
  const auto at = [](int ms) { return FocusHistory::Moment(std::chrono::milliseconds(ms)); };
  FocusHistory history;
  history.noteFront({1, 10, 10}, at(1000));
  EXPECT_EQ(history.predecessorOf(20, at(2000)), 10U);
  history.noteFront({2, 20, 20}, at(2000));
  EXPECT_EQ(history.predecessorOf(30, at(2100)), 10U) << "two thieves, of which the first one goes";
  EXPECT_EQ(history.predecessorOf(10, at(2100)), 20U) << "a dialog that has had its answer";
  EXPECT_EQ(history.predecessorOf(30, at(2300)), 20U);
}

}  // namespace
}  // namespace platform::linux_desktop
