// Applications of the simulated desktop: who is in front, what is asked of them, and who is told.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

struct Applications : testing::Test {
  Applications() {
    auto& center = NSWorkspace::sharedWorkspace().notificationCenter();
    for (const char* name : {NSWorkspaceDidActivateApplicationNotification, NSWorkspaceDidLaunchApplicationNotification,
                             NSWorkspaceDidTerminateApplicationNotification}) {
      center.addObserverForName(name, NSOperationQueue::mainQueue, [this](const NSNotification& notification) {
        EXPECT_TRUE(isMainThread());
        const auto application = notification.value<NSRunningApplication>(NSWorkspaceApplicationKey);
        told.push_back(notification.name.substr(14, 3) + " " + application.value().localizedName().value());
      });
    }
  }

  bool isInFront(const NSRunningApplication& application) {
    return NSWorkspace::sharedWorkspace().frontmostApplication() == application;
  }
  bool request(const NSRunningApplication& application) {
    return application.activateWithOptions(NSApplicationActivationOptions::none);
  }

  SimulatedDesktop desktop;
  std::vector<std::string> told;
};

using Told = std::vector<std::string>;

TEST_F(Applications, come_to_the_front_and_go_and_everybody_is_told) {
  const auto editor = desktop.launch({.pid = 77, .bundleIdentifier = "org.example.editor", .localizedName = "E"});
  EXPECT_EQ(editor.processIdentifier(), 77);
  EXPECT_EQ(editor.bundleIdentifier(), "org.example.editor");
  EXPECT_EQ(NSWorkspace::sharedWorkspace().frontmostApplication(), std::nullopt);
  desktop.setFrontmost(editor);
  EXPECT_TRUE(isInFront(editor));
  EXPECT_EQ(told, Told{"Lau E"});
  desktop.activate(editor);
  desktop.quit(editor);
  EXPECT_TRUE(editor.isTerminated());
  EXPECT_EQ(NSWorkspace::sharedWorkspace().frontmostApplication(), std::nullopt);
  EXPECT_TRUE(NSWorkspace::sharedWorkspace().runningApplications().empty());
  EXPECT_EQ(told, (Told{"Lau E", "Act E", "Ter E"}));
  EXPECT_FALSE(request(editor));
}

TEST_F(Applications, an_obedient_one_is_in_front_when_the_request_returns_and_announced_in_a_later_turn) {
  const auto editor = desktop.launch({.localizedName = "E"});
  EXPECT_TRUE(request(editor));
  EXPECT_TRUE(isInFront(editor));
  EXPECT_EQ(told, Told{"Lau E"});
  desktop.settle();
  EXPECT_EQ(told, (Told{"Lau E", "Act E"}));
  EXPECT_EQ(desktop.activationRequests(editor), 1U);
}

TEST_F(Applications, may_come_late_never_or_although_they_refuse) {
  struct Case {
    ActivationBehaviour behaviour;
    bool answer;
    bool comes;
  };
  for (const auto& [behaviour, answer, comes] :
       {Case{ActivationBehaviour::obeysAfter(100ms), true, true}, Case{ActivationBehaviour::ignores(), true, false},
        Case{ActivationBehaviour::refuses(), false, false},
        Case{ActivationBehaviour::refusesYetComesAfter(100ms), false, true}}) {
    const auto editor = desktop.launch({.localizedName = "E"});
    told.clear();
    desktop.whenAskedToActivate(editor, behaviour);
    EXPECT_EQ(request(editor), answer);
    desktop.advance(99ms);
    EXPECT_FALSE(isInFront(editor));
    EXPECT_TRUE(told.empty());
    desktop.advance(1ms);
    EXPECT_EQ(isInFront(editor), comes);
    EXPECT_EQ(told, comes ? Told{"Act E"} : Told{});
  }
}

TEST_F(Applications, that_quit_before_they_come_never_come) {
  const auto editor = desktop.launch({.localizedName = "E"});
  desktop.whenAskedToActivate(editor, ActivationBehaviour::obeysAfter(100ms));
  request(editor);
  desktop.quit(editor);
  desktop.advance(1s);
  EXPECT_EQ(told, (Told{"Lau E", "Ter E"}));
}

TEST_F(Applications, moved_from_inside_the_programs_work_are_announced_afterwards) {
  const auto editor = desktop.launch({.localizedName = "E"});
  told.clear();
  runOnMainThread([&] {
    desktop.activate(editor);
    EXPECT_TRUE(isInFront(editor));
    EXPECT_TRUE(told.empty());
  });
  runInBackground(QualityOfService::standard, [&] { desktop.launch({.localizedName = "B"}); });
  desktop.settle();
  EXPECT_EQ(told, (Told{"Act E", "Lau B"}));
}

TEST_F(Applications, that_are_installed_are_found_by_identifier_and_location) {
  desktop.install({"/apps/editor", "org.example.editor", "The Editor", "editor-icon"});
  desktop.install({.location = "/apps/tool", .displayName = "Tool"});
  auto& workspace = NSWorkspace::sharedWorkspace();
  EXPECT_TRUE(workspace.URLForApplicationWithBundleIdentifier("org.example.editor") == "/apps/editor");
  EXPECT_FALSE(workspace.URLForApplicationWithBundleIdentifier("org.example.other"));
  EXPECT_EQ(workspace.iconForFile("/apps/editor"), "editor-icon");
  EXPECT_EQ(NSBundle::bundleWithURL("/apps/editor").value().bundleIdentifier, "org.example.editor");
  EXPECT_EQ(NSBundle::bundleWithURL("/apps/tool").value().bundleIdentifier, std::nullopt);
  EXPECT_FALSE(NSBundle::bundleWithURL("/apps/other"));
  EXPECT_EQ(NSFileManager::defaultManager().displayNameAtPath("/apps/tool"), "Tool");
  EXPECT_EQ(NSFileManager::defaultManager().displayNameAtPath("/apps/other.txt"), "other.txt");
}

}  // namespace
}  // namespace platform::simulated
