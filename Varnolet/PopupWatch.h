// A popup of the program never keeps keyboard and pointer from the user when the main thread stands still.
#pragma once

#include <QObject>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <vector>

#include "platform/linux/watchdog/WatchdogLink.h"

// One in the process, on the main thread, once the application object is there. While a popup is shown, it has grabbed
// keyboard and pointer: a watchdog hears meanwhile that the event loop goes on, and otherwise takes the popup's window
// off the screen, which ends the grab. The popup is closed once the loop goes on.
class PopupWatch : public QObject {
 public:
  PopupWatch();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void shown(QWidget* popup);
  void hidden(const QWidget* popup);
  void tellWatchdog();

  // Begins with the first popup. The event tap's watchdog ends with the tap.
  std::unique_ptr<platform::linux_desktop::WatchdogLink> watchdog_;
  std::vector<QWidget*> popups_;  // the first has the grab for all
  QTimer beat_;
};
