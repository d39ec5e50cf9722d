// The views are drawn offscreen: no display and no bus is asked.
#include <gmock/gmock.h>

#include <QApplication>
#include <cstdlib>

int main(int count, char** arguments) {
  // No other thread yet.
  setenv("QT_QPA_PLATFORM", "offscreen", 1);                 // NOLINT(concurrency-mt-unsafe)
  setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);        // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_RUNTIME_DIR", testing::TempDir().c_str(), 0);  // NOLINT(concurrency-mt-unsafe)
  testing::InitGoogleMock(&count, arguments);
  const QApplication application(count, arguments);
  return RUN_ALL_TESTS();
}
