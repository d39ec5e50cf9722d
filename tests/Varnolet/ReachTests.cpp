// Everything can be reached and told without eyes and without a mouse.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QDateEdit>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QSlider>
#include <QTabWidget>
#include <QTest>
#include <memory>
#include <vector>

#include "Varnolet/LogViewerView.h"
#include "Varnolet/OnboardingView.h"
#include "Varnolet/PopoverView.h"
#include "Varnolet/SettingsView.h"
#include "Views.h"
#include "platform/ui/NSAlert.h"
#include "platform/ui/NSOpenPanel.h"

namespace varnolet {
namespace {

class ReachTest : public testing::Test {
 protected:
  // The controls of the view that the Tab key stops at.
  static std::vector<QWidget*> tabStops(const QWidget& view) {
    std::vector<QWidget*> stops;
    for (auto* control : view.findChildren<QWidget*>()) {
      if ((control->focusPolicy() & Qt::TabFocus) != 0 && !control->focusProxy()) stops.push_back(control);
    }
    return stops;
  }
  static void expectNames(const QWidget& view, std::size_t least) {
    const auto stops = tabStops(view);
    EXPECT_GE(stops.size(), least);
    for (auto* control : stops) {
      auto* accessible = QAccessible::queryAccessibleInterface(control);
      ASSERT_NE(accessible, nullptr);
      // A bar of tabs is told by its tabs.
      if (accessible->role() == QAccessible::PageTabList) accessible = accessible->child(0);
      EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << control->metaObject()->className();
    }
  }

  // At its least size.
  void expectNothingCut(QWidget& view) {
    view.resize(view.minimumSizeHint().expandedTo(view.minimumSize()));
    settle(desktop);
    for (const auto* text : view.findChildren<QLabel*>()) {
      if (text->isVisible() && text->wordWrap()) EXPECT_GE(text->height(), text->heightForWidth(text->width()));
    }
    for (const auto* button : view.findChildren<QPushButton*>()) {
      if (button->isVisible()) EXPECT_GE(button->width(), button->sizeHint().width()) << button->text().toStdString();
    }
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<varnoletKit::SettingsManager> settings =
      std::make_shared<varnoletKit::SettingsManager>(platform::UserDefaults::standard());
  std::shared_ptr<varnoletKit::FocusGuardState> state = std::make_shared<varnoletKit::FocusGuardState>();
  std::shared_ptr<PauseManager> pauseManager = PauseManager::create(state);
  std::shared_ptr<varnoletKit::EventLogManager> events = std::make_shared<varnoletKit::EventLogManager>();
};

TEST_F(ReachTest, WhateverTakesTheKeysHasAName) {
  expectNames(OnboardingView(std::make_shared<varnoletKit::PermissionsManager>(), [] {}), 3);
  expectNames(PopoverView(state, settings, pauseManager, {}), 7);
  expectNames(SettingsView(settings, state, events), 15);
  LogViewerView log(events);
  expectNames(log, 6);
  platform::ui::NSOpenPanel panel;
  panel.allowedContentTypes = {platform::ui::UTType::application};
  panel.beginSheetModalForWindow(&log, [](const auto&) {});
  expectNames(*openDialog(), 3);
}

TEST_F(ReachTest, TheKeysOperateTheSettings) {
  SettingsView view(settings, state, events);
  view.show();
  auto* login = find(view, "Launch at Login");
  QTest::keyClick(login, Qt::Key_Space);
  EXPECT_TRUE(settings->settings().launchAtLogin);
  view.findChild<QTabWidget*>()->setCurrentIndex(2);
  auto* slider = find<QSlider>(view, "Buffer timeout");
  const auto before = settings->settings().bufferTimeoutMs;
  QTest::keyClick(slider, Qt::Key_Right);
  EXPECT_EQ(settings->settings().bufferTimeoutMs, before + 50);
  QTest::keyClick(slider, Qt::Key_PageDown);
  EXPECT_EQ(settings->settings().bufferTimeoutMs, before - 50);
  QTest::keyClick(slider, Qt::Key_Home);
  EXPECT_EQ(settings->settings().bufferTimeoutMs, 200);
}

TEST_F(ReachTest, TheKeysOperateThePopoverAndKeepTheirPlaceWhenItsButtonsChange) {
  PopoverView view(state, settings, pauseManager, {});
  view.show();
  view.activateWindow();
  settle(desktop);
  auto* pause = find(view, "Pause focus protection until manually re-enabled");
  auto* resume = find(view, "Resume focus protection");
  pause->setFocus();
  QTest::keyClick(pause, Qt::Key_Return);
  EXPECT_TRUE(pauseManager->isPaused());
  EXPECT_EQ(view.focusWidget(), resume);
  QTest::keyClick(resume, Qt::Key_Space);
  EXPECT_FALSE(pauseManager->isPaused());
  auto* pauseForOneHour = find(view, "Pause focus protection for one hour");
  EXPECT_EQ(view.focusWidget(), pauseForOneHour);
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
  QCoreApplication::sendEvent(pauseForOneHour, &held);
  EXPECT_FALSE(pauseManager->isPaused()) << "a held key would pause and resume in turn";
}

TEST_F(ReachTest, TabGoesTheWayThatTheWindowReads) {
  settings->addToWhitelist("org.example.Own");
  SettingsView view(settings, state, events);
  view.show();
  view.activateWindow();
  view.findChild<QTabWidget*>()->setCurrentIndex(1);
  find<QListWidget>(view, "Whitelisted apps")->setFocus();
  view.findChild<QListWidget*>()->setCurrentRow(0);
  for (const char* name : {"Add...", "Remove", "Reset to Defaults"}) {
    QTest::keyClick(view.focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(view.focusWidget(), find(view, name));
  }
}

TEST_F(ReachTest, LargeLettersGetTheRoomThatTheyNeed) {
  const QFont usual = QApplication::font();
  for (const int size : {11, 14, 22}) {
    QApplication::setFont(QFont(usual.family(), size));
    OnboardingView welcome(std::make_shared<varnoletKit::PermissionsManager>(), [] {});
    SettingsView settingsView(settings, state, events);
    welcome.show();
    expectNothingCut(welcome);
    PopoverView popover(state, settings, pauseManager, {});
    popover.show();
    expectNothingCut(popover);
    settingsView.show();
    for (int tab = 0; tab < 4; ++tab) {
      settingsView.findChild<QTabWidget*>()->setCurrentIndex(tab);
      expectNothingCut(settingsView);
    }
  }
  QApplication::setFont(usual);
}

// A key too many does no harm.
TEST_F(ReachTest, ReturnAndEscapeNeverDestroy) {
  LogViewerView view(events);
  view.show();
  for (const auto key : {Qt::Key_Return, Qt::Key_Escape}) {
    bool isDone = false;
    int cancellations = 0;
    platform::ui::NSAlert alert;
    alert.addButton("Clear", platform::ui::ButtonRole::destructive, [&isDone] { isDone = true; });
    alert.addButton("Cancel", platform::ui::ButtonRole::cancel, [&cancellations] { ++cancellations; });
    alert.beginSheetModalForWindow(&view);
    ASSERT_NE(openDialog(), nullptr);
    QTest::keyClick(openDialog(), key);
    settle(desktop);
    EXPECT_EQ(openDialog(), nullptr);
    EXPECT_FALSE(isDone);
    EXPECT_EQ(cancellations, 1);
  }
  SettingsView settingsView(settings, state, events);
  click(settingsView, "View Log");
  settle(desktop);
  auto* sheet = openDialog();
  ASSERT_NE(sheet, nullptr);
  QTest::keyClick(find<QDateEdit>(*sheet, "Filter end date"), Qt::Key_Return);
  settle(desktop);
  EXPECT_EQ(openDialog(), sheet) << "Return in a field presses no button";
  EXPECT_TRUE(sheet->isVisible());
}

}  // namespace
}  // namespace varnolet
