#include "platform/ui/SymbolView.h"

#include <QPainter>
#include <utility>

#include "platform/ui/NSImage.h"

namespace platform::ui {

SymbolView::SymbolView(const QString& name, int side, Color color, QWidget* parent)
    : QWidget(parent), name_(name), color_(std::move(color)) {
  setFixedSize(side, side);
}

void SymbolView::setColor(Color color) {
  color_ = std::move(color);
  update();
}

void SymbolView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  symbolIcon(name_, color_(palette())).paint(&painter, rect());
}

}  // namespace platform::ui
