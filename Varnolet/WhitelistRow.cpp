#include "Varnolet/WhitelistRow.h"

#include <QApplication>
#include <QFontMetrics>
#include <QIcon>
#include <QPainter>
#include <QStyle>
#include <algorithm>

#include "platform/ui/NSColor.h"
#include "platform/ui/TextStyle.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr int iconSide = 24;
constexpr int spacing = 8;
constexpr int lineSpacing = 2;
constexpr int margin = 6;

int linesHeight() {
  return QFontMetrics(fontOf(TextStyle::body)).height() + lineSpacing +
         QFontMetrics(fontOf(TextStyle::caption)).height();
}

void drawLine(QPainter* painter, const QRect& area, const QFont& font, const QColor& color, const QString& text) {
  painter->setFont(font);
  painter->setPen(color);
  const QString shown = QFontMetrics(font).elidedText(text, Qt::ElideRight, area.width());
  painter->drawText(area, static_cast<int>(Qt::AlignLeft) | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

}  // namespace

void WhitelistRow::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  QStyleOptionViewItem frame = option;
  initStyleOption(&frame, index);
  const QString name = frame.text;
  frame.text.clear();
  frame.icon = {};
  frame.features &= ~QStyleOptionViewItem::ViewItemFeatures(QStyleOptionViewItem::HasDecoration);
  const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
  style->drawControl(QStyle::CE_ItemViewItem, &frame, painter, option.widget);

  painter->save();
  const QRect area = option.rect.adjusted(margin, margin, -margin, -margin);
  const QRect iconArea(area.left(), area.center().y() - iconSide / 2, iconSide, iconSide);
  index.data(Qt::DecorationRole).value<QIcon>().paint(painter, iconArea);

  const bool isSelected = option.state.testFlag(QStyle::State_Selected);
  const QColor text = option.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text);
  QRect textArea = area.adjusted(iconSide + spacing, 0, 0, 0);
  const QFont body = fontOf(TextStyle::body);
  if (index.data(hasNameRole).toBool()) {
    const int nameHeight = QFontMetrics(body).height();
    const QRect second = textArea.adjusted(0, nameHeight + lineSpacing, 0, 0);
    textArea.setHeight(nameHeight);
    drawLine(painter, second, fontOf(TextStyle::caption), isSelected ? text : NSColor::secondaryLabel(option.palette),
             index.data(bundleIDRole).toString());
  }
  drawLine(painter, textArea, body, text, name);
  painter->restore();
}

QSize WhitelistRow::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
  return {iconSide + spacing + 2 * margin, std::max(iconSide, linesHeight()) + 2 * margin};
}

}  // namespace varnolet
