#include "platform/ui/FormSection.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>
#include <memory>

#include "platform/ui/Label.h"
#include "platform/ui/NSColor.h"

namespace platform::ui {
namespace {

class Divider : public QWidget {
 public:
  explicit Divider(QWidget* parent) : QWidget(parent) { setFixedHeight(1); }

 protected:
  void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), NSColor::separator(palette())); }
};

}  // namespace

FormSection::FormSection(const QString& title, QWidget* parent) : QWidget(parent) {
  setAccessibleName(title);
  auto* heading = new Label(title, TextStyle::headline, &NSColor::label, this);
  heading->setContentsMargins(4, 0, 0, 0);
  // Made after the heading: assistive programs read in the order of making.
  card_ = new QWidget(this);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(6);
  column->addWidget(heading);
  column->addWidget(card_);
  rows_ = new QVBoxLayout(card_);
  rows_->setContentsMargins(12, 8, 12, 8);
  rows_->setSpacing(8);
}

void FormSection::addRow(QWidget* row) {
  if (!rows_->isEmpty()) rows_->addWidget(makeDivider(card_));
  rows_->addWidget(row);
}

void FormSection::addRow(const QString& title, QWidget* control) {
  auto* row = new QWidget(card_);
  auto* items = new QHBoxLayout(row);
  items->setContentsMargins(0, 0, 0, 0);
  items->addWidget(new Label(title, TextStyle::body, &NSColor::label, row), 1);
  items->addWidget(control);
  addRow(row);
}

void FormSection::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(NSColor::separator(palette()));
  painter.setBrush(NSColor::quaternaryFill(palette()));
  painter.drawRoundedRect(QRectF(card_->geometry()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
}

QWidget* makeDivider(QWidget* parent) {
  return std::make_unique<Divider>(parent).release();
}

}  // namespace platform::ui
