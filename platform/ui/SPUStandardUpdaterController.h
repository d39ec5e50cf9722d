// Software updates: those of the distribution.
#pragma once

#include <optional>
#include <string>

#include "platform/NSFileManager.h"

namespace platform::ui {

// Main thread.
class SPUStandardUpdaterController {
 public:
  // `applicationIdentifier` names the program in the software centre. Whether to start the updater at once.
  SPUStandardUpdaterController(std::string applicationIdentifier, bool startingUpdater);

  // Nothing has to run for updates that the distribution brings, so it never fails here.
  std::optional<NSError> startUpdater();
  bool isUpdaterStarted() const { return isUpdaterStarted_; }

  // Shows the program's page in the software centre, or says where updates come from if there is none.
  void checkForUpdates();

 private:
  std::string applicationIdentifier_;
  bool isUpdaterStarted_ = false;
};

}  // namespace platform::ui
