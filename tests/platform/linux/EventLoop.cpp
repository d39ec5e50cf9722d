#include "tests/platform/linux/EventLoop.h"

#include <QCoreApplication>
#include <QTimer>

namespace platform::linux_desktop {

bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  QTimer ticks;  // wakes the loop to look again
  ticks.start(std::chrono::milliseconds(2));
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

void runFor(std::chrono::milliseconds duration) {
  runUntil([] { return false; }, duration);
}

}  // namespace platform::linux_desktop
