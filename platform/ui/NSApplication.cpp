#include "platform/ui/NSApplication.h"

#include <QApplication>
#include <QSessionManager>
#include <QWidget>
#include <cassert>
#include <utility>

#include "platform/NSNotificationCenter.h"
#include "platform/ui/AccessiblePopups.h"

namespace platform::ui {
namespace {

NSApplication* shared = nullptr;

bool hasVisibleWindows() {
  for (const QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible() && widget->windowType() == Qt::Window) return true;
  }
  return false;
}

}  // namespace

NSApplication::NSApplication() {
  assert(!shared);
  shared = this;
  // Without windows it lives on in the tray.
  QApplication::setQuitOnLastWindowClosed(false);
  showPopupsToAssistivePrograms();
  // A session's manager may also end the program, which tells the delegate, but it must not start it: whether it starts
  // with the session is the user's choice.
  connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { tellOfTheEnd(); });
  for (const auto request : {&QGuiApplication::commitDataRequest, &QGuiApplication::saveStateRequest}) {
    connect(
        qApp, request, this, [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
  }
  connect(qApp, &QGuiApplication::applicationStateChanged, this, [](Qt::ApplicationState state) {
    if (state != Qt::ApplicationActive) return;
    NSNotificationCenter::defaultCenter().postNotification({NSApplicationDidBecomeActiveNotification, {}});
  });
}

NSApplication::~NSApplication() {
  shared = nullptr;
}

NSApplication* NSApplication::sharedApplication() {
  return shared;
}

int NSApplication::run() {
  if (const auto delegate = delegate_.lock()) delegate->applicationDidFinishLaunching();
  return QCoreApplication::exec();
}

void NSApplication::terminate(int exitCode) {
  if (tellOfTheEnd()) QCoreApplication::exit(exitCode);
}

bool NSApplication::tellOfTheEnd() {
  if (std::exchange(isTerminating_, true)) return false;
  if (onTermination_) onTermination_();
  if (const auto delegate = delegate_.lock()) delegate->applicationWillTerminate();
  return true;
}

void NSApplication::reopen() {
  if (const auto delegate = delegate_.lock()) delegate->applicationShouldHandleReopen(hasVisibleWindows());
}

}  // namespace platform::ui
