#include "Varnolet/BlockedEventsModel.h"

#include <QDateTime>
#include <QFont>
#include <QLocale>
#include <chrono>
#include <utility>

#include "platform/ui/TextStyle.h"

namespace varnolet {
namespace {

QString textOf(const varnoletKit::BlockedEvent& event, int column) {
  switch (column) {
    case 0:
      return timestampText(event.timestamp, QLocale());
    case 1:
      return QString::fromStdString(event.thiefName);
    case 2:
      return QString::fromStdString(event.protectedName);
    case 3:
      return QString::number(event.keystrokesBuffered);
    default:
      return QString::number(event.reactivationLatencyMs) + QStringLiteral(" ms");
  }
}

}  // namespace

const std::vector<BlockedEventsModel::Column>& BlockedEventsModel::columns() {
  static const std::vector<Column> all{{"Time", 120, 150, true},
                                       {"Thief App", 80, 110, false},
                                       {"Protected App", 80, 110, false},
                                       {"Keystrokes", 50, 70, true},
                                       {"Latency", 50, 70, true}};
  return all;
}

void BlockedEventsModel::setEvents(std::vector<varnoletKit::BlockedEvent> events) {
  beginResetModel();
  events_ = std::move(events);
  endResetModel();
}

int BlockedEventsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(events_.size());
}

int BlockedEventsModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(columns().size());
}

QVariant BlockedEventsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const auto column = static_cast<std::size_t>(index.column());
  const auto& event = events_.at(static_cast<std::size_t>(index.row()));
  if (role == Qt::DisplayRole) return textOf(event, index.column());
  // Escaped and marked as markup: a tool tip would guess.
  if (role == Qt::ToolTipRole) return QStringLiteral("<p>%1</p>").arg(textOf(event, index.column()).toHtmlEscaped());
  if (role == Qt::FontRole && columns().at(column).isNumeric) {
    return platform::ui::monospacedDigits(platform::ui::fontOf(platform::ui::TextStyle::body));
  }
  return {};
}

QVariant BlockedEventsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return QString::fromLatin1(columns().at(static_cast<std::size_t>(section)).title);
}

QString timestampText(platform::Date date, const QLocale& locale) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch());
  // The language's own order of day and month, and its own clock of 12 or 24 hours, with the seconds added.
  const QString shortDate = locale.dateFormat(QLocale::ShortFormat);
  const bool isDayFirst = shortDate.indexOf(u'd') < shortDate.indexOf(u'M') && shortDate.indexOf(u'y') != 0;
  QString time = locale.timeFormat(QLocale::ShortFormat);
  if (!time.contains(QStringLiteral("ss"))) {
    const bool hasPoints = time.contains(QStringLiteral(".mm"));
    time.replace(QStringLiteral("mm"), hasPoints ? QStringLiteral("mm.ss") : QStringLiteral("mm:ss"));
  }
  const QString format = (isDayFirst ? QStringLiteral("d MMM, ") : QStringLiteral("MMM d, ")) + time;
  return locale.toString(QDateTime::fromMSecsSinceEpoch(milliseconds.count()), format);
}

}  // namespace varnolet
