#include "Varnolet/LogViewerView.h"

#include <QDateEdit>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPointer>
#include <QStackedWidget>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>
#include <chrono>
#include <utility>

#include "Varnolet/LogExport.h"
#include "Varnolet/LogViewerPanels.h"
#include "platform/NSCalendar.h"
#include "platform/Tasks.h"
#include "platform/ui/FormSection.h"
#include "platform/ui/NSAlert.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/NSWindow.h"
#include "platform/ui/PushButton.h"

namespace varnolet {
namespace {

using namespace platform::ui;
using varnoletKit::BlockedEvent;

constexpr QSize frame(600, 400);
constexpr int padding = 12;
constexpr int spacing = 8;  // between controls
constexpr int margin = 10;  // of the window around the frame
constexpr int daysShown = 7;

QDateTime dateTimeOf(platform::Date date) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch());
  return QDateTime::fromMSecsSinceEpoch(milliseconds.count());
}

platform::Date dateOf(const QDateTime& dateTime) {
  return platform::Date(std::chrono::milliseconds(dateTime.toMSecsSinceEpoch()));
}

int leastWidth(int column) {
  return BlockedEventsModel::columns().at(static_cast<std::size_t>(column)).minimumWidth;
}

// What the other columns leave of the header, stretched ones at their least.
int mostWidth(const QHeaderView& header, int column) {
  int room = header.width();
  for (int other = 0; other < header.count(); ++other) {
    if (other == column) continue;
    const bool isStretched = header.sectionResizeMode(other) == QHeaderView::Stretch;
    room -= isStretched ? leastWidth(other) : header.sectionSize(other);
  }
  return room;
}

}  // namespace

LogViewerView::LogViewerView(std::shared_ptr<varnoletKit::EventLogManager> eventLogManager)
    : eventLogManager_(std::move(eventLogManager)) {
  const platform::Date now = platform::dateNow();
  filterEndDate_ = dateTimeOf(now);
  filterStartDate_ = dateTimeOf(platform::dateByAddingDays(-daysShown, now).value_or(now));

  // Made from top to bottom, as the Tab key goes.
  auto* header = makeHeader();
  content_ = new QStackedWidget(this);
  loadingPanel_ = makeLoadingPanel(content_);
  emptyPanel_ = makeEmptyPanel(content_);
  table_ = makeTable();
  for (QWidget* page : {loadingPanel_, emptyPanel_, static_cast<QWidget*>(table_)}) content_->addWidget(page);

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(margin, margin, margin, margin);
  column->setSpacing(0);
  column->addLayout(header);
  column->addWidget(makeDivider(this));
  column->addWidget(content_, 1);
  column->addWidget(makeDivider(this));
  column->addLayout(makeBottomBar());
  setFrame(*this, frame);
  redraw();
}

QHBoxLayout* LogViewerView::makeHeader() {
  auto* header = new QHBoxLayout;
  header->setContentsMargins(padding, padding, padding, padding);
  header->setSpacing(spacing);
  header->addWidget(new Label(QStringLiteral("Blocked Events Log"), TextStyle::headline, &NSColor::label, this), 1);
  header->addWidget(makeDateEdit(QStringLiteral("Filter start date"), &LogViewerView::filterStartDate_));
  header->addWidget(new Label(QStringLiteral("to"), TextStyle::body, &NSColor::secondaryLabel, this));
  header->addWidget(makeDateEdit(QStringLiteral("Filter end date"), &LogViewerView::filterEndDate_));
  return header;
}

// The day changes; the time of day stays what it was when the view was made.
QDateEdit* LogViewerView::makeDateEdit(const QString& accessibleName, QDateTime LogViewerView::*bound) {
  auto* edit = new QDateEdit((this->*bound).date(), this);
  edit->setCalendarPopup(true);
  edit->setAccessibleName(accessibleName);
  connect(edit, &QDateEdit::dateChanged, this, [this, bound](QDate day) {
    (this->*bound).setDate(day);
    applyFilter();
  });
  return edit;
}

QTableView* LogViewerView::makeTable() {
  auto* table = new QTableView(content_);
  table->setAccessibleName(QStringLiteral("Blocked events table"));
  table->setModel(&model_);
  table->setAlternatingRowColors(true);
  table->setShowGrid(false);
  table->setFrameShape(QFrame::NoFrame);
  table->setWordWrap(false);
  table->setTabKeyNavigation(false);
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  table->verticalHeader()->hide();
  auto* header = table->horizontalHeader();
  header->setHighlightSections(false);
  header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  for (int column = 0; column < model_.columnCount(); ++column) {
    header->resizeSection(column, BlockedEventsModel::columns().at(static_cast<std::size_t>(column)).idealWidth);
  }
  // The names get what room there is beyond that.
  for (const int nameColumn : {1, 2}) header->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
  // A column is never narrower than it must be, whatever the user drags.
  connect(header, &QHeaderView::sectionResized, header, [header](int column, int, int width) {
    if (header->sectionResizeMode(column) == QHeaderView::Stretch || !header->isVisible()) return;
    const int kept = std::clamp(width, leastWidth(column), std::max(leastWidth(column), mostWidth(*header, column)));
    if (kept != width) header->resizeSection(column, kept);
  });
  return table;
}

// Large fonts may need more than the ideal widths.
void LogViewerView::fitColumns() {
  auto* header = table_->horizontalHeader();
  const QAbstractItemView& view = *table_;  // where the hint is public
  for (int column = 0; column < model_.columnCount(); ++column) {
    const int needed = std::max(header->sectionSizeHint(column), view.sizeHintForColumn(column));
    if (header->sectionSize(column) < needed) header->resizeSection(column, needed);
  }
}

QHBoxLayout* LogViewerView::makeBottomBar() {
  auto* bar = new QHBoxLayout;
  bar->setContentsMargins(padding, padding, padding, padding);
  bar->setSpacing(spacing);
  auto* captions = new QVBoxLayout;
  captions->setSpacing(2);
  count_ = new Label({}, TextStyle::caption, &NSColor::secondaryLabel, this);
  cutNotice_ = new Label(QStringLiteral("Showing most recent %1 events").arg(mostRows), TextStyle::smallCaption,
                         &NSColor::orangeText, this);
  captions->addWidget(count_);
  captions->addWidget(cutNotice_);
  bar->addLayout(captions, 1);

  auto* exportButton = new PushButton(QStringLiteral("Export"), ButtonStyle::bordered, ButtonRole::normal, this);
  auto* clearButton = new PushButton(QStringLiteral("Clear Log"), ButtonStyle::bordered, ButtonRole::destructive, this);
  auto* doneButton = new PushButton(QStringLiteral("Done"), ButtonStyle::prominent, ButtonRole::normal, this);
  for (auto* button : {exportButton, clearButton, doneButton}) bar->addWidget(button);
  connect(exportButton, &QPushButton::clicked, this,
          [this] { exportLog(eventLogManager_, QStringLiteral("Export Blocked Events"), this); });
  connect(clearButton, &QPushButton::clicked, this, &LogViewerView::confirmClear);
  setFocusProxy(doneButton);
  connect(doneButton, &QPushButton::clicked, this, [this] { window()->close(); });
  return bar;
}

void LogViewerView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (std::exchange(hasAppeared_, true)) return;
  setFocus();
  loadEvents();
}

void LogViewerView::loadEvents() {
  isLoading_ = true;
  redraw();
  platform::runInBackground(platform::QualityOfService::userInitiated,
                            [manager = eventLogManager_, view = QPointer<LogViewerView>(this)] {
                              auto events = std::make_shared<std::vector<BlockedEvent>>(manager->loadEvents());
                              platform::runOnMainThread([events, view] {
                                if (!view || !view->isLoading_) return;  // the log was cleared meanwhile
                                view->events_ = std::move(*events);
                                view->isLoading_ = false;
                                view->applyFilter();
                              });
                            });
}

void LogViewerView::applyFilter() {
  const platform::Date start = dateOf(filterStartDate_);
  const platform::Date end = dateOf(filterEndDate_);
  filteredEvents_.clear();
  std::ranges::copy_if(events_, std::back_inserter(filteredEvents_),
                       [&](const BlockedEvent& event) { return event.timestamp >= start && event.timestamp <= end; });
  std::ranges::stable_sort(filteredEvents_, std::ranges::greater(), &BlockedEvent::timestamp);
  if (filteredEvents_.size() > mostRows) filteredEvents_.resize(mostRows);
  model_.setEvents(filteredEvents_);
  fitColumns();
  redraw();
}

void LogViewerView::redraw() {
  content_->setCurrentWidget(isLoading_                ? loadingPanel_
                             : filteredEvents_.empty() ? emptyPanel_
                                                       : static_cast<QWidget*>(table_));
  const std::size_t count = filteredEvents_.size();
  count_->setText(QString::number(count) + QStringLiteral(" event") + (count == 1 ? QString() : QStringLiteral("s")));
  cutNotice_->setVisible(count == mostRows);
}

void LogViewerView::confirmClear() {
  NSAlert alert;
  alert.messageText = QStringLiteral("Clear Event Log");
  alert.informativeText =
      QStringLiteral("This will permanently delete all blocked event records. This action cannot be undone.");
  alert.addButton(QStringLiteral("Cancel"), ButtonRole::cancel);
  alert.addButton(QStringLiteral("Clear"), ButtonRole::destructive, [this] { clear(); });
  alert.beginSheetModalForWindow(this);
}

void LogViewerView::clear() {
  eventLogManager_->clearEventsLater();
  isLoading_ = false;
  events_.clear();
  applyFilter();
}

}  // namespace varnolet
