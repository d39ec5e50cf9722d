#include "platform/ui/NSPopover.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/ui/NSColor.h"

namespace platform::ui {
namespace {

constexpr int margin = 6;  // to the anchor and to the screen's edges

QPoint placeFor(const QSize& size, const QRect& anchor) {
  const QScreen* screen = QGuiApplication::screenAt(anchor.center());
  if (!screen) screen = QGuiApplication::primaryScreen();
  const QRect room = screen->availableGeometry().adjusted(margin, margin, -margin, -margin);
  const int below = anchor.bottom() + 1 + margin;
  const int above = anchor.top() - margin - size.height();
  const bool fitsBelow = below + size.height() <= room.bottom() + 1;
  const int left = anchor.center().x() - size.width() / 2;
  const auto within = [](int value, int least, int most) { return std::max(least, std::min(value, most)); };
  return {within(left, room.left(), room.right() + 1 - size.width()),
          within(fitsBelow ? below : above, room.top(), room.bottom() + 1 - size.height())};
}

}  // namespace

NSPopover::NSPopover() : QWidget(nullptr, Qt::Popup), keyboard_(*this) {
  // The click that closes it is spent: otherwise the icon under it would open it again.
  setAttribute(Qt::WA_NoMouseReplay);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(1, 1, 1, 1);
  setAccessibleName(QStringLiteral("Varnolet"));
  setWindowTitle(QStringLiteral("Varnolet"));
}

void NSPopover::setContentSize(const QSize& size) {
  contentSize_ = size;
}

void NSPopover::setContent(QWidget* content) {
  delete content_;
  content_ = content;
  layout()->addWidget(content);
}

void NSPopover::showRelativeTo(const QRect& anchor) {
  const QRect place = anchor.isEmpty() ? QRect(QCursor::pos(), QSize(1, 1)) : anchor;
  ensurePolished();
  layout()->activate();
  resize(contentSize_.expandedTo(sizeHint()));
  move(placeFor(size(), place));
  show();
  keyboard_.take();
  raise();
  activateWindow();
  // On no control: whoever goes on typing must not press one.
  setFocus();
}

bool NSPopover::wasClosedByThisClick() const {
  return closedByClick_.isValid() && !closedByClick_.hasExpired(QApplication::doubleClickInterval());
}

void NSPopover::mousePressEvent(QMouseEvent* event) {
  if (!rect().contains(event->position().toPoint())) closedByClick_.start();
  QWidget::mousePressEvent(event);
}

// From the popover itself; a control does this by itself.
void NSPopover::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Right) {
    focusNextPrevChild(true);
  } else if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Left) {
    focusNextPrevChild(false);
  } else {
    QWidget::keyPressEvent(event);
  }
}

void NSPopover::closeEvent(QCloseEvent* event) {
  keyboard_.giveBack();
  QWidget::closeEvent(event);
}

void NSPopover::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Window));
  painter.setPen(NSColor::separator(palette()));
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

}  // namespace platform::ui
