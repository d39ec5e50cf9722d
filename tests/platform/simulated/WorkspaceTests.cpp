// Applications of the simulated desktop: when the program is told of what it sees already.
#include <gtest/gtest.h>

#include <string>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

struct Announcements : testing::Test {
  Announcements() {
    NSWorkspace::sharedWorkspace().notificationCenter().addObserverForName(
        NSWorkspaceDidActivateApplicationNotification, NSOperationQueue::mainQueue, [this](const NSNotification&) {
          EXPECT_TRUE(isMainThread());
          ++told;
        });
  }
  bool isInFront() const { return NSWorkspace::sharedWorkspace().frontmostApplication() == editor; }

  SimulatedDesktop desktop;
  NSRunningApplication editor = desktop.launch({.localizedName = "Editor"});
  int told = 0;
};

TEST_F(Announcements, an_obedient_application_is_in_front_at_once_and_announced_in_a_later_turn) {
  EXPECT_TRUE(editor.activateWithOptions(NSApplicationActivationOptions::none));
  EXPECT_TRUE(isInFront());
  EXPECT_EQ(told, 0);
  desktop.settle();
  EXPECT_EQ(told, 1);
}

TEST_F(Announcements, what_happens_inside_the_programs_work_is_announced_afterwards) {
  runOnMainThread([&] {
    desktop.activate(editor);
    EXPECT_TRUE(isInFront());
    EXPECT_EQ(told, 0);
  });
  desktop.settle();
  EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace platform::simulated
