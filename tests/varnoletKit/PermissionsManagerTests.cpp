#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/PermissionsManager.h"

namespace varnoletKit {
namespace {

using platform::simulated::LogLine;

LogLine reading(bool accessibility, bool inputMonitoring) {
  return {platform::LogCategory::permissions, platform::LogLevel::standard,
          std::string("Permissions — Accessibility: ") + (accessibility ? "true" : "false") +
              ", Input Monitoring: " + (inputMonitoring ? "true" : "false")};
}

class PermissionsManagerTest : public testing::Test {
 protected:
  PermissionsManagerTest() {
    desktop.grantAccessibility(false);
    desktop.grantInputMonitoring(false);
  }
  platform::simulated::SimulatedDesktop desktop;
};

TEST_F(PermissionsManagerTest, KnowsEachPermissionAsOfTheLatestReading) {
  PermissionsManager permissions;
  EXPECT_FALSE(permissions.accessibilityGranted());
  EXPECT_FALSE(permissions.inputMonitoringGranted());
  EXPECT_FALSE(permissions.allPermissionsGranted());

  desktop.grantAccessibility();
  EXPECT_FALSE(permissions.accessibilityGranted());
  permissions.refreshPermissions();
  EXPECT_TRUE(permissions.accessibilityGranted());
  EXPECT_FALSE(permissions.inputMonitoringGranted());
  EXPECT_FALSE(permissions.allPermissionsGranted());

  desktop.grantInputMonitoring();
  permissions.recheckPermissions();
  EXPECT_TRUE(permissions.allPermissionsGranted());

  desktop.grantAccessibility(false);
  permissions.recheckPermissions();
  EXPECT_FALSE(permissions.accessibilityGranted());
  EXPECT_TRUE(permissions.inputMonitoringGranted());
  EXPECT_EQ(desktop.logLines(),
            (std::vector{reading(false, false), reading(true, false), reading(true, true), reading(false, true)}));
}

TEST_F(PermissionsManagerTest, TheProbeLeavesNoTapBehindAndSeesNoKey) {
  desktop.grantAccessibility();
  desktop.grantInputMonitoring();
  const auto editor = desktop.launch({.localizedName = "Editor"});
  desktop.activate(editor);
  PermissionsManager permissions;
  EXPECT_EQ(desktop.liveTaps(), 0U);
  EXPECT_EQ(desktop.liveRunLoopSources(), 0U);
  desktop.type("hello");
  EXPECT_EQ(desktop.textIn(editor), "hello");
}

TEST_F(PermissionsManagerTest, ReadersAreToldOfChangesOnly) {
  PermissionsManager permissions;
  std::vector<bool> shown;
  const Observation observation = observe([&] { shown.push_back(permissions.allPermissionsGranted()); });
  permissions.refreshPermissions();
  EXPECT_EQ(shown.size(), 1U);
  desktop.grantInputMonitoring();  // decides nothing while the other is missing
  permissions.refreshPermissions();
  EXPECT_EQ(shown.size(), 1U);
  desktop.grantAccessibility();
  permissions.refreshPermissions();
  desktop.grantInputMonitoring(false);
  permissions.refreshPermissions();
  EXPECT_EQ(shown, (std::vector<bool>{false, true, false}));
  EXPECT_EQ(desktop.logLines().size(), 5U);
}

TEST_F(PermissionsManagerTest, OpensThePaneOfEachPermission) {
  PermissionsManager permissions;
  permissions.openAccessibilitySettings();
  permissions.openInputMonitoringSettings();
  EXPECT_EQ(desktop.openedURLs(),
            (std::vector<std::string>{"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility",
                                      "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent"}));
  desktop.refuseURLs();
  permissions.openAccessibilitySettings();
}

}  // namespace
}  // namespace varnoletKit
