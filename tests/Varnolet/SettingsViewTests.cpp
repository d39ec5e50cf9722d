#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QSlider>
#include <QTabWidget>
#include <memory>

#include "Varnolet/AboutTab.h"
#include "Varnolet/SettingsView.h"
#include "Varnolet/WhitelistRow.h"
#include "Views.h"
#include "platform/NSNotificationCenter.h"

namespace varnolet {
namespace {

using namespace varnoletKit;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class SettingsViewTest : public testing::Test {
 protected:
  void open() {
    view = std::make_unique<SettingsView>(settings, state, std::make_shared<EventLogManager>());
    tabs = view->findChild<QTabWidget*>();
    view->show();
    settle(desktop);
  }
  QWidget& tab(int index) {
    tabs->setCurrentIndex(index);
    return *tabs->currentWidget();
  }
  UserSettings stored() const { return SettingsManager(defaults).settings(); }
  void store(const UserSettings& record) { settings->setSettings(record); }
  QListWidget& whitelist() { return *tab(1).findChild<QListWidget*>(); }
  QStringList rows(int role) {
    QStringList texts;
    for (int row = 0; row < whitelist().count(); ++row) texts << whitelist().item(row)->data(role).toString();
    return texts;
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<platform::UserDefaults> defaults = platform::UserDefaults::standard();
  std::shared_ptr<SettingsManager> settings = std::make_shared<SettingsManager>(defaults);
  std::shared_ptr<FocusGuardState> state = std::make_shared<FocusGuardState>();
  std::unique_ptr<SettingsView> view;
  QTabWidget* tabs = nullptr;
};

TEST_F(SettingsViewTest, HasItsTabsInOrderAndOpensAtTheFirst) {
  open();
  QStringList titles;
  for (int i = 0; i < tabs->count(); ++i) titles << tabs->tabText(i);
  EXPECT_THAT(titles, ElementsAre("General", "Whitelist", "Advanced", "About"));
  EXPECT_EQ(tabs->currentIndex(), 0);
  EXPECT_EQ(stored(), UserSettings()) << "showing changed something";
}

TEST_F(SettingsViewTest, SwitchesStoreAtOnceAndFollowTheSettings) {
  open();
  click(tab(0), "Launch at Login");
  EXPECT_TRUE(stored().launchAtLogin);
  click(tab(0), "Show Notifications");
  EXPECT_FALSE(stored().notificationsEnabled);
  click(tab(0), "Notification Sound");
  EXPECT_FALSE(stored().soundEnabled);
  store(UserSettings{});
  EXPECT_TRUE(find(tab(0), "Show Notifications")->isChecked());

  const auto before = stored();
  click(tab(0), "Enable Protection");
  EXPECT_FALSE(state->isEnabled());
  EXPECT_EQ(stored(), before) << "the protection is no setting";
  state->setIsEnabled(true);
  EXPECT_TRUE(find(tab(0), "Enable Protection")->isChecked());
}

TEST_F(SettingsViewTest, SlidersMoveInStepsAndStoreWholeNumbers) {
  open();
  auto& advanced = tab(2);
  auto* window = find<QSlider>(advanced, "Gesture detection window");
  window->setValue(523);
  EXPECT_EQ(stored().gestureWindowMs, 500) << "the nearest step is where it was";
  window->setValue(530);
  EXPECT_EQ(stored().gestureWindowMs, 550);
  EXPECT_EQ(window->value(), 550);
  EXPECT_EQ(window->accessibleDescription(), "550 milliseconds");
  EXPECT_TRUE(shownTexts(advanced).contains("550 ms"));
  window->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(stored().gestureWindowMs, 600);
  window->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(stored().gestureWindowMs, 1000);

  auto* timeout = find<QSlider>(advanced, "Buffer timeout");
  timeout->triggerAction(QAbstractSlider::SliderToMinimum);
  EXPECT_EQ(stored().bufferTimeoutMs, 200);
  auto* retention = find<QSlider>(advanced, "Log retention period");
  retention->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(stored().logRetentionDays, 31);
  EXPECT_EQ(retention->accessibleDescription(), "31 days");
  for (const auto* slider : advanced.findChildren<QSlider*>()) {
    const auto range = slider == retention ? std::pair(7, 90) : std::pair(200, 1000);
    EXPECT_EQ(std::pair(slider->minimum(), slider->maximum()), range);
  }
}

TEST_F(SettingsViewTest, AStoredNumberOutOfRangeStaysUntilItIsMoved) {
  settings->save({.gestureWindowMs = 5000});
  settings->load();
  open();
  EXPECT_TRUE(shownTexts(tab(2)).contains("5000 ms"));
  click(tab(0), "Launch at Login");
  EXPECT_EQ(stored().gestureWindowMs, 5000);
  find<QSlider>(tab(2), "Gesture detection window")->triggerAction(QAbstractSlider::SliderSingleStepSub);
  EXPECT_EQ(stored().gestureWindowMs, 950);
}

TEST_F(SettingsViewTest, TheWhitelistNamesWhatIsInstalledAndListsAllInOrder) {
  desktop.install({"/apps/notes.desktop", "org.example.Notes", "<i>Notes</i>", ""});
  store({.whitelist = {"org.example.Notes", "org.example.Absent"}});
  open();
  EXPECT_THAT(rows(Qt::DisplayRole), ElementsAre("org.example.Absent", "<i>Notes</i>"));
  EXPECT_THAT(rows(Qt::AccessibleTextRole),
              ElementsAre("Whitelisted app: org.example.Absent", "Whitelisted app: <i>Notes</i>"));
  EXPECT_THAT(rows(WhitelistRow::bundleIDRole), ElementsAre("org.example.Absent", "org.example.Notes"));
  EXPECT_THAT(rows(WhitelistRow::hasNameRole), ElementsAre("false", "true"));
  settings->addToWhitelist("org.example.First");
  EXPECT_EQ(whitelist().count(), 3) << "added while it is shown";
}

TEST_F(SettingsViewTest, RemovingTakesTheSelectedAppOnly) {
  store({.whitelist = {"a", "b"}});
  open();
  auto* removeButton = find(tab(1), "Remove");
  EXPECT_FALSE(removeButton->isEnabled());
  whitelist().setCurrentRow(1);
  EXPECT_TRUE(removeButton->isEnabled());
  settings->addToWhitelist("Earlier");
  EXPECT_TRUE(removeButton->isEnabled());
  removeButton->setFocus();
  removeButton->click();
  EXPECT_THAT(stored().whitelist, ElementsAre("Earlier", "a"));
  EXPECT_FALSE(removeButton->isEnabled());
  EXPECT_THAT(whitelist().selectedItems(), IsEmpty());
  EXPECT_EQ(tab(1).focusWidget(), &whitelist()) << "not a button that a second press would press";
  whitelist().setCurrentRow(0);
  settings->removeFromWhitelist("Earlier");
  EXPECT_FALSE(removeButton->isEnabled()) << "its row has gone by itself";
}

TEST_F(SettingsViewTest, ResettingAsksFirstAndKeepsTheUsersOwn) {
  store({.whitelist = {"org.example.Own"}});
  open();
  click(tab(1), "Reset to Defaults");
  ASSERT_NE(openDialog(), nullptr);
  EXPECT_THAT(shownTexts(*openDialog()),
              ElementsAre("Reset Whitelist",
                          "This will restore the default apps to your whitelist. Apps you added manually will be "
                          "preserved."));
  click(*openDialog(), "Cancel");
  settle(desktop);
  EXPECT_EQ(whitelist().count(), 1);
  click(tab(1), "Reset to Defaults");
  click(*openDialog(), "Reset");
  settle(desktop);
  EXPECT_GT(whitelist().count(), 5);
  EXPECT_TRUE(stored().whitelist.contains("org.example.Own"));
}

TEST_F(SettingsViewTest, AddingAsksForAnInstalledApplication) {
  desktop.install({"/apps/notes.desktop", "org.example.Notes", "Notes", ""});
  desktop.install({"/apps/nameless.desktop", std::nullopt, "Nameless", ""});
  open();
  const auto choose = [this](const QString& words, const char* button) {
    click(tab(1), "Add...");
    auto* chooser = openDialog();
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->windowTitle(), "Select an Application");
    chooser->findChild<QLineEdit*>()->setText(words);
    click(*chooser, button);
    settle(desktop);
  };
  choose("note", "Cancel");
  EXPECT_THAT(stored().whitelist, IsEmpty());
  choose("nameless", "Open");
  EXPECT_THAT(stored().whitelist, IsEmpty()) << "it has no identifier";
  choose("note", "Open");
  choose("note", "Open");
  EXPECT_THAT(stored().whitelist, UnorderedElementsAre("org.example.Notes"));
}

TEST_F(SettingsViewTest, AboutTellsTheVersionAndAsksForUpdates) {
  open();
  EXPECT_TRUE(shownTexts(tab(3)).contains("Version 1.0 (1)")) << "nothing is known";
  desktop.setMainBundleInfo({{"CFBundleShortVersionString", "2.3"}, {"CFBundleVersion", "41"}});
  open();
  EXPECT_TRUE(shownTexts(tab(3)).contains("Version 2.3 (41)"));
  EXPECT_TRUE(shownTexts(tab(3)).contains("Keeps the focus where you put it."));
  int asked = 0;
  platform::NSNotificationCenter::defaultCenter().addObserverForName(
      checkForUpdatesNotification, platform::NSOperationQueue::poster,
      [&asked](const platform::NSNotification&) { ++asked; });
  click(tab(3), "Check for Updates");
  EXPECT_EQ(asked, 1);
}

TEST_F(SettingsViewTest, TheLogIsExportedAsItIs) {
  open();
  click(tab(2), "Export Log");
  auto* panel = openDialog<QFileDialog>();
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->windowTitle(), "Export Blocked Events Log");
  EXPECT_TRUE(panel->selectedFiles().first().endsWith("/blocked-events.json"));
  panel->reject();
}

TEST_F(SettingsViewTest, TheLogOpensInASheetThatDoneCloses) {
  open();
  click(tab(2), "View Log");
  settle(desktop);
  ASSERT_NE(openDialog(), nullptr);
  EXPECT_TRUE(shownTexts(*openDialog()).contains("No Events"));
  click(*openDialog(), "Done");
  settle(desktop);
  EXPECT_EQ(openDialog(), nullptr);
}

}  // namespace
}  // namespace varnolet
