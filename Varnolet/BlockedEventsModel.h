// Blocked events as the rows of a table.
#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <vector>

#include "platform/Tasks.h"
#include "varnoletKit/BlockedEvent.h"

namespace varnolet {

// Main thread only.
class BlockedEventsModel : public QAbstractTableModel {
 public:
  struct Column {
    const char* title;
    int minimumWidth;
    int idealWidth;
    bool isNumeric;  // digits of equal width
  };
  static const std::vector<Column>& columns();

  using QAbstractTableModel::QAbstractTableModel;

  void setEvents(std::vector<varnoletKit::BlockedEvent> events);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  std::vector<varnoletKit::BlockedEvent> events_;
};

// Month, day and the time to the second, in the user's language and order.
QString timestampText(platform::Date date, const QLocale& locale);

}  // namespace varnolet
