#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "Varnolet/OnboardingView.h"
#include "Varnolet/PermissionCard.h"
#include "Views.h"
#include "platform/ui/NSApplication.h"
#include "platform/ui/NSColor.h"

namespace varnolet {
namespace {

using platform::ui::NSColor;
using testing::ElementsAre;
using testing::SizeIs;

class OnboardingViewTest : public testing::Test {
 protected:
  void becomeActive() {
    platform::NSNotificationCenter::defaultCenter().postNotification(
        {platform::ui::NSApplicationDidBecomeActiveNotification, {}});
  }
  QStringList cards() const {
    QStringList names;
    for (const auto* card : view->findChildren<QWidget*>()) {
      if (card->accessibleName().contains(" permission, ")) names << card->accessibleName();
    }
    return names;
  }
  std::ptrdiff_t spoken(const QString& name) const {
    return std::ranges::count(view->findChildren<QLabel*>(), name, &QWidget::accessibleName);
  }
  void open() {
    view = std::make_unique<OnboardingView>(permissions, [this] { ++dismissals; });
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<varnoletKit::PermissionsManager> permissions = std::make_shared<varnoletKit::PermissionsManager>();
  int dismissals = 0;
  std::unique_ptr<OnboardingView> view;
};

TEST_F(OnboardingViewTest, FollowsThePermissionsWheneverTheProgramBecomesActive) {
  desktop.grantAccessibility(false);
  desktop.grantInputMonitoring(false);
  permissions->refreshPermissions();
  open();
  auto* begin = find(*view, "Get Started");
  EXPECT_THAT(cards(), ElementsAre("Accessibility permission, required", "Input Monitoring permission, required"));
  EXPECT_EQ(shownTexts(*view).count("Required"), 2);
  EXPECT_EQ(spoken("Permission required"), 2);
  EXPECT_TRUE(draws(*view, NSColor::orangeText(view->palette())));
  EXPECT_FALSE(begin->isEnabled());

  desktop.grantAccessibility();
  desktop.grantInputMonitoring(false);
  EXPECT_EQ(shownTexts(*view).count("Granted"), 0) << "nothing was read";
  becomeActive();
  EXPECT_THAT(cards(), ElementsAre("Accessibility permission, granted", "Input Monitoring permission, required"));
  EXPECT_FALSE(begin->isEnabled());

  desktop.grantInputMonitoring();
  becomeActive();
  EXPECT_EQ(shownTexts(*view).count("Granted"), 2);
  EXPECT_EQ(spoken("Permission granted"), 2);
  EXPECT_TRUE(draws(*view, NSColor::greenText(view->palette())));
  EXPECT_FALSE(draws(*view, NSColor::orangeText(view->palette())));
  ASSERT_TRUE(begin->isEnabled());
  EXPECT_EQ(begin->accessibleDescription(), "Begin using Varnolet");
  begin->click();
  EXPECT_EQ(dismissals, 1);
  view.reset();
  becomeActive();
}

TEST_F(OnboardingViewTest, EachCardOpensItsOwnSettings) {
  open();
  click(*view, "Open Accessibility settings");
  click(*view, "Open Input Monitoring settings");
  ASSERT_THAT(desktop.openedURLs(), SizeIs(2));
  EXPECT_TRUE(desktop.openedURLs().at(0).ends_with("Privacy_Accessibility"));
  EXPECT_TRUE(desktop.openedURLs().at(1).ends_with("Privacy_ListenEvent"));
}

}  // namespace
}  // namespace varnolet
