// Runs the tests inside an application object, because the desktop needs its event loop.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "DesktopEntriesFolder.h"

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  platform::linux_desktop::desktopEntriesFolder();
  return RUN_ALL_TESTS();
}
