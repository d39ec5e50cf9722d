#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDateEdit>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QLocale>
#include <QTableView>
#include <QTemporaryDir>
#include <filesystem>
#include <memory>
#include <tuple>

#include "Varnolet/LogViewerView.h"
#include "Views.h"
#include "platform/NSFileManager.h"
#include "platform/UUID.h"

namespace varnolet {
namespace {

using namespace std::chrono_literals;
using platform::Date;
using testing::ElementsAre;
using varnoletKit::EventLogManager;

class LogViewerViewTest : public testing::Test {
 protected:
  // The newest is called Thief 0 and stored last, as it happened last.
  void log(std::size_t count, std::chrono::nanoseconds age = 1h) {
    for (std::size_t i = count; i-- > 0;) {
      events->append({platform::newUUID(), platform::dateNow() - age - i * 1s, "org.example.Thief",
                      "Thief " + std::to_string(i), "org.example.Editor", "Editor", 3, 104});
    }
  }
  void open() {
    view = std::make_unique<LogViewerView>(events);
    view->show();
  }
  void openAndLoad() {
    open();
    settle(desktop);
  }
  bool shows(const QString& text) const { return shownTexts(*view).contains(text); }
  const QAbstractItemModel& table() const { return *view->findChild<QTableView*>()->model(); }
  QString cell(int row, int column) const { return table().index(row, column).data().toString(); }
  void setDate(const char* name, int daysFromToday) {
    auto* edit = find<QDateEdit>(*view, name);
    edit->setDate(today().addDays(daysFromToday));
    settle(desktop);
  }
  static QDate today() {
    return QDateTime::fromSecsSinceEpoch(std::chrono::system_clock::to_time_t(platform::dateNow())).date();
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<EventLogManager> events = std::make_shared<EventLogManager>();
  std::unique_ptr<LogViewerView> view;
};

TEST_F(LogViewerViewTest, LoadsInTheBackgroundAndSaysSo) {
  log(1);
  open();
  EXPECT_TRUE(shows("Loading events..."));
  EXPECT_EQ(table().rowCount(), 0);
  settle(desktop);
  EXPECT_FALSE(shows("Loading events..."));
  EXPECT_TRUE(shows("1 event"));
  EXPECT_EQ(cell(0, 1), "Thief 0");
  EXPECT_EQ(cell(0, 2), "Editor");
  EXPECT_EQ(cell(0, 3), "3");
  EXPECT_EQ(cell(0, 4), "104 ms");
  log(1);
  settle(desktop);
  EXPECT_TRUE(shows("1 event")) << "what comes later is not added";
}

TEST_F(LogViewerViewTest, ItsColumnsHaveTitlesAndRoom) {
  log(1);
  openAndLoad();
  QStringList titles;
  for (int i = 0; i < table().columnCount(); ++i) titles << table().headerData(i, Qt::Horizontal).toString();
  EXPECT_THAT(titles, ElementsAre("Time", "Thief App", "Protected App", "Keystrokes", "Latency"));
  auto* header = view->findChild<QTableView*>()->horizontalHeader();
  for (const auto& [column, ideal, least] : {std::tuple(0, 150, 120), std::tuple(3, 70, 50), std::tuple(4, 70, 50)}) {
    EXPECT_GE(header->sectionSize(column), ideal);
    header->resizeSection(column, 10);
    EXPECT_EQ(header->sectionSize(column), least);
  }
  for (const int column : {0, 3}) {
    header->resizeSection(column, 400);
    settle(desktop);
    EXPECT_GE(header->sectionSize(1), 80);
    EXPECT_GE(header->sectionSize(2), 80);
  }
}

TEST_F(LogViewerViewTest, AViewThatIsClosedWhileItLoadsIsForgotten) {
  log(1);
  open();
  view.reset();
  settle(desktop);
}

TEST_F(LogViewerViewTest, ShowsTheNewestHundredAndSaysThatItCut) {
  const auto notice = QStringLiteral("Showing most recent 100 events");
  log(99);
  openAndLoad();
  EXPECT_TRUE(shows("99 events"));
  EXPECT_FALSE(shows(notice));
  log(1, 2h);
  openAndLoad();
  EXPECT_TRUE(shows("100 events"));
  EXPECT_TRUE(shows(notice));
  for (const std::size_t more : {1U, 49U}) {
    log(more, 3h);
    openAndLoad();
    EXPECT_TRUE(shows("100 events"));
    EXPECT_TRUE(shows(notice));
  }
  EXPECT_EQ(cell(0, 1), "Thief 0");
  EXPECT_EQ(cell(98, 1), "Thief 98");
}

TEST_F(LogViewerViewTest, FiltersByDaysAndKeepsTheTimeOfDay) {
  log(1, 24h * 7 - 1s);
  log(1, 24h * 7 + 1s);
  openAndLoad();
  EXPECT_TRUE(shows("1 event")) << "seven days to the second";
  setDate("Filter start date", -8);
  EXPECT_TRUE(shows("2 events"));
  setDate("Filter end date", -7);
  EXPECT_TRUE(shows("1 event")) << "the end of that day is this time of day";
  setDate("Filter start date", 0);
  EXPECT_TRUE(shows("0 events"));
  EXPECT_TRUE(shows("No Events"));
  EXPECT_TRUE(shows("No blocked events found for the selected date range."));
}

TEST_F(LogViewerViewTest, ClearingAsksFirst) {
  log(2);
  openAndLoad();
  click(*view, "Clear Log");
  ASSERT_NE(openDialog(), nullptr);
  EXPECT_TRUE(shownTexts(*openDialog())
                  .contains("This will permanently delete all blocked event records. This action cannot be undone."));
  click(*openDialog(), "Cancel");
  settle(desktop);
  EXPECT_EQ(events->loadEvents().size(), 2U);
  click(*view, "Clear Log");
  click(*openDialog(), "Clear");
  settle(desktop);
  EXPECT_TRUE(events->loadEvents().empty());
  EXPECT_TRUE(shows("No Events"));
  EXPECT_TRUE(shows("0 events"));
}

TEST_F(LogViewerViewTest, WhatIsClearedWhileItLoadsStaysAway) {
  log(2);
  open();
  click(*view, "Clear Log");
  click(*openDialog(), "Clear");
  settle(desktop);
  EXPECT_TRUE(shows("0 events"));
  EXPECT_EQ(table().rowCount(), 0);
}

TEST_F(LogViewerViewTest, ExportsTheWholeLogToAPlaceWhereThereIsNothingYet) {
  log(150, 24h * 30);
  openAndLoad();
  const QTemporaryDir folder;
  const QString taken = folder.filePath("taken.json");
  ASSERT_TRUE(QFile(taken).open(QIODevice::WriteOnly));
  const QString free = folder.filePath("free.json");
  desktop.putFile(folder.filePath("other.json").toStdString(), "");  // the simulated desktop has the folder too

  click(*view, "Export");
  auto* panel = openDialog<QFileDialog>();
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->windowTitle(), "Export Blocked Events");
  EXPECT_TRUE(panel->selectedFiles().first().endsWith("blocked-events.json"));
  emit panel->fileSelected(taken);
  panel->close();
  settle(desktop);
  ASSERT_NE(openDialog(), nullptr) << "it says that the name is taken";
  click(*openDialog(), "Choose Another");
  settle(desktop);
  panel = openDialog<QFileDialog>();
  ASSERT_NE(panel, nullptr);
  emit panel->fileSelected(free);
  panel->close();
  settle(desktop);
  auto& files = platform::NSFileManager::defaultManager();
  EXPECT_EQ(std::get<std::string>(files.contents(free.toStdString())),
            std::get<std::string>(files.contents(events->exportURL())));
  EXPECT_TRUE(std::holds_alternative<platform::NSError>(files.contents(taken.toStdString())));
}

TEST(TimestampText, FollowsTheLanguage) {
  const QDateTime afternoon(QDate(2026, 3, 2), QTime(16, 5, 6));
  const Date date(std::chrono::milliseconds(afternoon.toMSecsSinceEpoch()));
  EXPECT_EQ(timestampText(date, QLocale("en_US")).simplified(), "Mar 2, 4:05:06 PM");
  for (const auto& [language, time] : {std::pair("de_DE", "16:05:06"), std::pair("fi_FI", "16.05.06")}) {
    const QString text = timestampText(date, QLocale(language));
    EXPECT_TRUE(text.startsWith("2 ")) << text.toStdString();
    EXPECT_TRUE(text.endsWith(time)) << text.toStdString();
  }
}

}  // namespace
}  // namespace varnolet
