#include "platform/ui/NSWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>

namespace platform::ui {

NSWindow::NSWindow(const QString& title, unsigned styleMask, const QSize& contentSize, QWidget* content)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint) {
  setWindowTitle(title);
  setWindowFlag(Qt::WindowTitleHint, (styleMask & titled) != 0);
  setWindowFlag(Qt::WindowSystemMenuHint, (styleMask & titled) != 0);
  setWindowFlag(Qt::WindowCloseButtonHint, (styleMask & closable) != 0);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(content);
  if ((styleMask & resizable) != 0) {
    resize(contentSize);
  } else {
    // Large fonts may need more than the size that was meant.
    setFixedSize(contentSize.expandedTo(layout->totalMinimumSize()));
  }
}

void NSWindow::center() {
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) screen = QGuiApplication::primaryScreen();
  QRect place(QPoint(), size());
  place.moveCenter(screen->availableGeometry().center());
  move(place.topLeft());
}

void NSWindow::makeKeyAndOrderFront() {
  if (isMinimized()) showNormal();
  show();
  raise();
  activateWindow();
}

void NSWindow::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Close)) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

void setFrame(QWidget& view, const QSize& size) {
  const QLayout* layout = view.layout();
  QSize needed = size.expandedTo(layout->totalMinimumSize());
  if (layout->hasHeightForWidth()) {
    needed = needed.expandedTo({needed.width(), layout->totalHeightForWidth(needed.width())});
  }
  view.setMinimumSize(needed);
}

}  // namespace platform::ui
