// The log of blocked events, for a range of days.
#pragma once

#include <QDateTime>
#include <QWidget>
#include <memory>
#include <vector>

#include "Varnolet/BlockedEventsModel.h"
#include "platform/ui/Label.h"
#include "varnoletKit/EventLogManager.h"

class QDateEdit;
class QHBoxLayout;
class QStackedWidget;
class QTableView;

namespace varnolet {

// Shows what the log holds when the view appears, of the last seven days at first, newest first and a hundred at most.
// What is blocked later is not added. "Done" closes the window or the sheet that it is in. Main thread only; the log is
// read in the background.
class LogViewerView : public QWidget {
 public:
  static constexpr std::size_t mostRows = 100;

  explicit LogViewerView(std::shared_ptr<varnoletKit::EventLogManager> eventLogManager);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QHBoxLayout* makeHeader();
  QHBoxLayout* makeBottomBar();
  QTableView* makeTable();
  void fitColumns();
  QDateEdit* makeDateEdit(const QString& accessibleName, QDateTime LogViewerView::*bound);

  void loadEvents();
  void applyFilter();
  void redraw();
  void confirmClear();
  void clear();

  const std::shared_ptr<varnoletKit::EventLogManager> eventLogManager_;
  std::vector<varnoletKit::BlockedEvent> events_;
  std::vector<varnoletKit::BlockedEvent> filteredEvents_;
  QDateTime filterStartDate_;
  QDateTime filterEndDate_;
  bool isLoading_ = false;
  bool hasAppeared_ = false;

  BlockedEventsModel model_;
  QStackedWidget* content_ = nullptr;
  QWidget* loadingPanel_ = nullptr;
  QWidget* emptyPanel_ = nullptr;
  QTableView* table_ = nullptr;
  platform::ui::Label* count_ = nullptr;
  platform::ui::Label* cutNotice_ = nullptr;
};

}  // namespace varnolet
