#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QPointer>
#include <QTest>
#include <memory>

#include "Varnolet/AboutTab.h"
#include "Varnolet/AppDelegate.h"
#include "Varnolet/VarnoletApp.h"
#include "Views.h"
#include "platform/NSWorkspace.h"
#include "platform/UUID.h"
#include "platform/ui/NSColor.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace varnolet {
namespace {

using namespace std::chrono_literals;
using namespace platform;
using platform::ui::NSApplication;
using platform::ui::NSColor;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char started[] = "FocusGuardEngine started (tap: true)";
constexpr char stopped[] = "FocusGuardEngine stopped";

class AppDelegateTest : public testing::Test {
 protected:
  void launch() { application_.delegate()->applicationDidFinishLaunching(); }
  void launchAndGuard() {
    launch();
    advance(100ms);
    desktop_.clearLog();
  }
  void advance(std::chrono::nanoseconds duration) {
    desktop_.advance(duration);
    settle(desktop_);
  }
  void announce(const char* notification) {
    desktop_.announce(notification);
    settle(desktop_);
  }
  QWidget& openPopover() {
    if (!delegate().popover()->isShown()) application_.reopen();
    return *delegate().popover();
  }
  void becomeActive() {
    NSNotificationCenter::defaultCenter().postNotification({ui::NSApplicationDidBecomeActiveNotification, {}});
    settle(desktop_);
  }
  void stealFocus() {
    const auto editor = desktop_.launch({.localizedName = "Editor"});
    const auto thief = desktop_.launch({.bundleIdentifier = "org.example.Thief", .localizedName = "Thief"});
    delegate().focusGuardEngine()->state().setBlessedApp(editor);
    desktop_.activate(editor);
    settle(desktop_);
    desktop_.activate(thief);
    advance(200ms);
  }
  AppDelegate& delegate() { return app_.appDelegate(); }
  QColor iconColor() { return delegate().statusItem()->button()->image()->color(); }
  std::size_t starts() const { return desktop_.timesLogged(started); }
  std::size_t stops() const { return desktop_.timesLogged(stopped); }

  simulated::SimulatedDesktop desktop_;
  NSApplication application_;
  VarnoletApp app_{application_};
};

TEST_F(AppDelegateTest, LaunchMakesEverythingAndStartsTheEngineATenthOfASecondLater) {
  EXPECT_EQ(delegate().focusGuardEngine(), nullptr);
  launch();
  ASSERT_NE(delegate().focusGuardEngine(), nullptr);
  EXPECT_EQ(iconColor(), NSColor::systemGreen()) << "the state begins enabled";
  advance(99ms);
  EXPECT_EQ(starts(), 0U);
  advance(1ms);
  EXPECT_EQ(starts(), 1U);
  EXPECT_EQ(delegate().onboardingWindow(), nullptr);
  EXPECT_FALSE(delegate().updaterController()->isUpdaterStarted());
  advance(2899ms);
  EXPECT_FALSE(delegate().updaterController()->isUpdaterStarted());
  advance(1ms);
  EXPECT_TRUE(delegate().updaterController()->isUpdaterStarted());
}

TEST_F(AppDelegateTest, WithoutAPermissionItWelcomesAndStartsWhenTheUserIsDone) {
  desktop_.grantInputMonitoring(false);
  launch();
  advance(100ms);
  ASSERT_NE(delegate().onboardingWindow(), nullptr);
  EXPECT_EQ(delegate().onboardingWindow()->windowTitle(), "Welcome to Varnolet");
  EXPECT_GE(delegate().onboardingWindow()->height(), 440);
  auto* begin = find(*delegate().onboardingWindow(), "Get Started");
  EXPECT_FALSE(begin->isEnabled());
  EXPECT_EQ(starts(), 0U);

  desktop_.grantInputMonitoring();
  becomeActive();
  EXPECT_TRUE(begin->isEnabled());
  EXPECT_EQ(starts(), 1U) << "becoming active is enough";
  announce(NSWorkspaceSessionDidResignActiveNotification);
  begin->click();
  settle(desktop_);
  EXPECT_FALSE(delegate().onboardingWindow()->isVisible());
  EXPECT_EQ(starts(), 2U);
}

TEST_F(AppDelegateTest, ClosingTheWelcomeIsNotBeingDone) {
  desktop_.grantAccessibility(false);
  launch();
  advance(100ms);
  desktop_.grantAccessibility();
  delegate().onboardingWindow()->close();
  advance(1h);
  EXPECT_EQ(starts(), 0U);
  becomeActive();
  EXPECT_EQ(starts(), 1U);
}

TEST_F(AppDelegateTest, TheLaunchForgetsEventsThatAreTooOld) {
  varnoletKit::SettingsManager(std::string(varnoletKit::applicationIdentifier)).save({.logRetentionDays = 7});
  varnoletKit::EventLogManager log;
  for (const auto age : {24h * 6, 24h * 9}) log.append({newUUID(), dateNow() - age, "t", "Thief", "e", "Editor", 0, 0});
  launch();
  advance(0ms);
  EXPECT_EQ(log.loadEvents().size(), 1U);
}

TEST_F(AppDelegateTest, TheSessionAndTheScreensStopAndStartTheEngine) {
  launchAndGuard();
  announce(NSWorkspaceSessionDidResignActiveNotification);
  EXPECT_EQ(stops(), 1U);
  announce(NSWorkspaceSessionDidBecomeActiveNotification);
  EXPECT_EQ(starts(), 1U);
  announce(NSWorkspaceScreensDidWakeNotification);
  EXPECT_EQ(starts(), 1U) << "it runs";
  announce(NSWorkspaceSessionDidResignActiveNotification);
  desktop_.grantAccessibility(false);
  announce(NSWorkspaceScreensDidWakeNotification);
  EXPECT_EQ(starts(), 1U);
  desktop_.grantAccessibility();
  announce(NSWorkspaceScreensDidWakeNotification);
  EXPECT_EQ(starts(), 2U);
  EXPECT_EQ(delegate().onboardingWindow(), nullptr) << "only the launch welcomes";
  click(openPopover(), "Quit Varnolet");
  EXPECT_EQ(stops(), 3U);
}

TEST_F(AppDelegateTest, WhatTheUserSwitchedOffOutlastsAStopOfTheEngineAndNothingElseDoes) {
  launchAndGuard();
  auto& state = *delegate().focusGuardState();
  const auto isOnAfterStopAndStart = [&] {
    announce(NSWorkspaceSessionDidResignActiveNotification);
    announce(NSWorkspaceSessionDidResignActiveNotification);
    EXPECT_FALSE(state.isEnabled());
    announce(NSWorkspaceSessionDidBecomeActiveNotification);
    return state.isEnabled();
  };
  EXPECT_TRUE(isOnAfterStopAndStart());
  state.setIsEnabled(false);
  EXPECT_FALSE(isOnAfterStopAndStart());
  EXPECT_FALSE(isOnAfterStopAndStart());
  state.setIsEnabled(true);
  EXPECT_TRUE(isOnAfterStopAndStart());
  delegate().pauseManager()->pauseIndefinitely();
  EXPECT_FALSE(isOnAfterStopAndStart());
  state.setIsEnabled(true);  // with the switch of the settings
  becomeActive();
  EXPECT_TRUE(state.isEnabled()) << "the engine runs on";
  delegate().pauseManager()->resume();
  delegate().pauseManager()->pauseForOneHour();
  announce(NSWorkspaceSessionDidResignActiveNotification);
  advance(1h);
  announce(NSWorkspaceSessionDidBecomeActiveNotification);
  EXPECT_TRUE(state.isEnabled()) << "the hour was over before";
}

TEST_F(AppDelegateTest, AnHourOfPauseIsOverAfterASleepOfThatLength) {
  launchAndGuard();
  delegate().pauseManager()->pauseForOneHour();
  desktop_.setWallClock(platform::dateNow() + 59min);
  announce(NSWorkspaceScreensDidWakeNotification);
  EXPECT_TRUE(delegate().pauseManager()->isPaused());
  desktop_.setWallClock(platform::dateNow() + 1min);
  announce(NSWorkspaceScreensDidWakeNotification);
  EXPECT_FALSE(delegate().pauseManager()->isPaused());
  EXPECT_TRUE(delegate().focusGuardState()->isEnabled());
}

TEST_F(AppDelegateTest, ABlockIsNotifiedAsTheSettingsSayAndAlwaysFlashes) {
  launchAndGuard();
  stealFocus();
  EXPECT_THAT(desktop_.postedNotifications(), SizeIs(1));
  EXPECT_EQ(desktop_.postedNotifications().at(0).content.title, "Varnolet blocked Thief");
  EXPECT_EQ(iconColor(), NSColor::systemOrange());
  advance(1s);
  EXPECT_EQ(iconColor(), NSColor::systemGreen());

  auto settings = delegate().settingsManager()->settings();
  settings.notificationsEnabled = false;
  delegate().settingsManager()->setSettings(settings);
  stealFocus();
  EXPECT_THAT(desktop_.postedNotifications(), SizeIs(1));
  EXPECT_EQ(iconColor(), NSColor::systemOrange());
}

TEST_F(AppDelegateTest, BothButtonsOfTheMouseAndASecondStartToggleAFreshPopover) {
  launchAndGuard();
  auto* item = delegate().statusItem()->button();
  EXPECT_FALSE(delegate().popover()->isShown());
  item->click(ui::NSEventMaskLeftMouseUp);
  EXPECT_TRUE(delegate().popover()->isShown());
  EXPECT_GE(delegate().popover()->height(), 340);
  const QPointer<QWidget> content = delegate().popover()->findChild<QLabel*>();
  item->click(ui::NSEventMaskRightMouseUp);
  EXPECT_FALSE(delegate().popover()->isShown());
  application_.reopen();
  EXPECT_TRUE(delegate().popover()->isShown());
  EXPECT_TRUE(content.isNull()) << "an old view is shown";
}

TEST_F(AppDelegateTest, AStartThatTheUserHasNothingToDoWithOpensNothing) {
  launchAndGuard();
  const auto opensPopover = [this](bool isByLauncher) {
    delegate().applicationWasStartedAgain(isByLauncher);
    const bool isOpen = delegate().popover()->isShown();
    delegate().popover()->performClose();
    return isOpen;
  };
  EXPECT_FALSE(opensPopover(false));
  EXPECT_EQ(desktop_.postedNotifications().back().content.title, "Varnolet is running");
  EXPECT_TRUE(opensPopover(true));
  desktop_.clickMouse();
  EXPECT_TRUE(opensPopover(false));
}

TEST_F(AppDelegateTest, ThePopoverHasNoControlUntilTheUserGoesToOne) {
  launchAndGuard();
  QTest::mouseClick(find(openPopover(), "Pause focus protection for one hour"), Qt::LeftButton);
  for (const auto key : {Qt::Key_Tab, Qt::Key_Down}) {
    auto& popover = openPopover();
    EXPECT_EQ(popover.focusWidget(), &popover);
    QTest::keyClick(&popover, key);
    EXPECT_EQ(popover.focusWidget()->accessibleName(), "Resume focus protection");
    popover.close();
  }
}

TEST_F(AppDelegateTest, AClickThatClosesThePopoverDoesNotOpenItAgain) {
  launchAndGuard();
  auto& popover = openPopover();
  QTest::mousePress(&popover, Qt::LeftButton, {}, QPoint(-20, -20));
  EXPECT_FALSE(popover.isVisible());
  delegate().statusItem()->button()->click(ui::NSEventMaskLeftMouseUp);
  EXPECT_FALSE(popover.isVisible());
  openPopover();
  QTest::keyClick(&popover, Qt::Key_Escape);
  EXPECT_FALSE(popover.isVisible());
}

TEST_F(AppDelegateTest, ThereIsOneSettingsWindowAtATimeButALogWindowForEachRequest) {
  launchAndGuard();
  click(openPopover(), "Open settings");
  EXPECT_FALSE(delegate().popover()->isShown());
  ASSERT_NE(delegate().settingsWindow(), nullptr);
  const QPointer<QWidget> window = delegate().settingsWindow();
  EXPECT_EQ(window->size(), QSize(560, 480));
  click(openPopover(), "Open whitelist settings");
  EXPECT_EQ(delegate().settingsWindow(), window) << "a second window of settings";
  window->close();
  click(openPopover(), "Open settings");
  EXPECT_EQ(shownWindows("Varnolet Settings"), 1);
  EXPECT_TRUE(window.isNull()) << "the closed window came back";

  click(openPopover(), "View blocked events log");
  click(openPopover(), "View blocked events log");
  EXPECT_EQ(shownWindows("Blocked Events Log"), 2);
  for (auto* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible() && widget->windowTitle() == "Blocked Events Log") click(*widget, "Done");
  }
  EXPECT_EQ(shownWindows("Blocked Events Log"), 0);
}

TEST_F(AppDelegateTest, LooksForUpdatesWhereTheDistributionHasThem) {
  launchAndGuard();
  NSNotificationCenter::defaultCenter().postNotification({checkForUpdatesNotification, {}});
  EXPECT_THAT(desktop_.openedURLs(), ElementsAre("appstream://" + std::string(varnoletKit::applicationIdentifier)));
  desktop_.refuseURLs();
  NSNotificationCenter::defaultCenter().postNotification({checkForUpdatesNotification, {}});
  ASSERT_NE(openDialog(), nullptr) << "nothing was said";
  click(*openDialog(), "OK");
  settle(desktop_);
  EXPECT_EQ(openDialog(), nullptr);
}

TEST_F(AppDelegateTest, TellsOnceThatThereIsNoTray) {
  launchAndGuard();
  advance(9899ms);
  EXPECT_THAT(desktop_.postedNotifications(), IsEmpty());
  advance(1ms);
  ASSERT_THAT(desktop_.postedNotifications(), SizeIs(1));
  EXPECT_EQ(desktop_.postedNotifications().at(0).content.title, "Varnolet has no icon here");
  advance(1h);
  EXPECT_THAT(desktop_.postedNotifications(), SizeIs(1));
}

TEST_F(AppDelegateTest, TheSettingsSceneNeedsSettingsAndAnswersToItsKeys) {
  EXPECT_EQ(SettingsSceneView().content(), nullptr);
  launch();
  EXPECT_NE(SettingsSceneView().content(), nullptr);
  click(openPopover(), "View blocked events log");
  const auto pressWithControl = [this](Qt::Key key) {
    settle(desktop_);
    QTest::keyClick(QApplication::activeWindow(), key, Qt::ControlModifier);
    settle(desktop_);
  };
  pressWithControl(Qt::Key_Comma);
  const QPointer<QWidget> scene = QApplication::activeWindow();
  pressWithControl(Qt::Key_Comma);
  EXPECT_EQ(shownWindows("Varnolet Settings"), 1);
  ASSERT_FALSE(scene.isNull()) << "it was made anew";
  QTest::keyClick(&openPopover(), Qt::Key_Comma, Qt::ControlModifier);
  settle(desktop_);
  EXPECT_EQ(shownWindows("Varnolet Settings"), 1);
  EXPECT_FALSE(delegate().popover()->isShown()) << "it would cover the settings and have their keys";
  scene->activateWindow();
  pressWithControl(Qt::Key_W);
  EXPECT_FALSE(scene->isVisible());
}

}  // namespace
}  // namespace varnolet
