#include "PopupWatch.h"

#include <QApplication>
#include <QEvent>
#include <QWindow>
#include <algorithm>

namespace {

// Well within the watchdog's patience.
constexpr std::chrono::milliseconds beatInterval(100);

bool isPopup(const QObject& object) {
  return object.isWidgetType() && static_cast<const QWidget&>(object).windowType() == Qt::Popup;
}

// Somebody else has taken it off the screen.
bool wasUnmapped(const QWindow& window) {
  return window.type() == Qt::Popup && window.isVisible() && !window.isExposed();
}

}  // namespace

PopupWatch::PopupWatch() {
  QObject::connect(&beat_, &QTimer::timeout, this, [this] { watchdog_->beat(); });
  qApp->installEventFilter(this);
}

bool PopupWatch::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Show && isPopup(*watched)) {
    shown(static_cast<QWidget*>(watched));
  } else if (event->type() == QEvent::Hide && isPopup(*watched)) {
    hidden(static_cast<QWidget*>(watched));
  } else if (event->type() == QEvent::Expose && watched->isWindowType()) {
    auto* window = static_cast<QWindow*>(watched);
    if (wasUnmapped(*window)) QMetaObject::invokeMethod(window, &QWindow::close, Qt::QueuedConnection);
  }
  return QObject::eventFilter(watched, event);
}

void PopupWatch::shown(QWidget* popup) {
  popups_.push_back(popup);
  tellWatchdog();
}

void PopupWatch::hidden(const QWidget* popup) {
  std::erase(popups_, popup);
  tellWatchdog();
}

void PopupWatch::tellWatchdog() {
  if (popups_.empty()) {
    beat_.stop();
    if (watchdog_) watchdog_->grabEnded();
    return;
  }
  if (!watchdog_) watchdog_ = std::make_unique<platform::linux_desktop::WatchdogLink>();
  watchdog_->grabBegan(static_cast<std::uint32_t>(popups_.front()->winId()));
  beat_.start(beatInterval);
}
