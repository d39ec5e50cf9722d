#include "platform/ui/Label.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "platform/ui/NSImage.h"

namespace platform::ui {
namespace {

constexpr int gap = 6;  // between symbol and text

}  // namespace

Label::Label(const QString& text, TextStyle style, SymbolView::Color color, QWidget* parent)
    : QLabel(parent), color_(std::move(color)) {
  setTextFormat(Qt::PlainText);
  setFont(fontOf(style));
  setText(text);
}

void Label::setSymbol(const QString& name, SymbolView::Color color) {
  setSymbol(name, std::move(color), fontMetrics().height());
}

void Label::setSymbol(const QString& name, SymbolView::Color color, TextStyle size) {
  setSymbol(name, std::move(color), QFontMetrics(fontOf(size)).height());
}

void Label::setSymbol(const QString& name, SymbolView::Color color, int side) {
  symbol_ = name;
  symbolSide_ = side;
  symbolColor_ = std::move(color);
  updateGeometry();
  update();
}

void Label::setColor(SymbolView::Color color) {
  color_ = std::move(color);
  update();
}

QSize Label::sizeHint() const {
  // As it is drawn: a line's end in the text begins no other line.
  const QSize textSize = wordWrap() ? QLabel::sizeHint() : fontMetrics().size(Qt::TextSingleLine, text());
  return {textSize.width() + symbolSpace(), std::max(textSize.height(), symbolSide_)};
}

// Narrower than its text: it can be cut.
QSize Label::minimumSizeHint() const {
  if (wordWrap()) return QLabel::minimumSizeHint();
  return {symbolSpace() + fontMetrics().averageCharWidth() * 4, sizeHint().height()};
}

int Label::symbolSpace() const {
  return symbol_.isEmpty() ? 0 : symbolSide_ + gap;
}

QString Label::shownText() const {
  return fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width() - symbolSpace());
}

bool Label::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip && !wordWrap()) {
    const bool isCut = shownText() != text();
    // Escaped and marked as markup: a tool tip would guess.
    const QString whole = isCut ? QStringLiteral("<p>%1</p>").arg(text().toHtmlEscaped()) : QString();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), whole, this);
    return true;
  }
  return QLabel::event(event);
}

void Label::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect area = contentsRect();
  if (!symbol_.isEmpty()) {
    symbolIcon(symbol_, symbolColor_(palette()))
        .paint(&painter, QRect(area.left(), area.top() + (area.height() - symbolSide_) / 2, symbolSide_, symbolSide_));
  }
  const QRect textArea = area.adjusted(symbolSpace(), 0, 0, 0);
  painter.setPen(color_(palette()));
  if (wordWrap()) {
    painter.drawText(textArea, static_cast<int>(alignment()) | Qt::TextWordWrap, text());
    return;
  }
  painter.drawText(textArea, static_cast<int>(alignment()) | Qt::TextSingleLine, shownText());
}

}  // namespace platform::ui
