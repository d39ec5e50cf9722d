#include "platform/ui/SPUStandardUpdaterController.h"

#include <QApplication>
#include <utility>

#include "platform/NSWorkspace.h"
#include "platform/ui/NSAlert.h"

namespace platform::ui {

SPUStandardUpdaterController::SPUStandardUpdaterController(std::string applicationIdentifier, bool startingUpdater)
    : applicationIdentifier_(std::move(applicationIdentifier)) {
  if (startingUpdater) startUpdater();
}

std::optional<NSError> SPUStandardUpdaterController::startUpdater() {
  isUpdaterStarted_ = true;
  return std::nullopt;
}

void SPUStandardUpdaterController::checkForUpdates() {
  if (NSWorkspace::sharedWorkspace().openURL("appstream://" + applicationIdentifier_)) return;
  NSAlert alert;
  alert.messageText = QStringLiteral("Updates come with your system");
  alert.informativeText =
      QStringLiteral("No software centre can be opened here. New versions are installed by your system's own updates.");
  alert.beginSheetModalForWindow(QApplication::activeWindow());
}

}  // namespace platform::ui
