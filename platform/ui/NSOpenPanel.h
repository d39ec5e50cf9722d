// Asks the user for something that is there.
#pragma once

#include <QString>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "platform/ui/NSSavePanel.h"

namespace platform::ui {

// For applications: a list of those that are installed, in place of the folder that they are in on other desktops. Main
// thread.
class NSOpenPanel {
 public:
  QString title;
  std::vector<UTType> allowedContentTypes;  // applications only

  // Shows it over the window and returns at once. The handler gets the one location that was chosen, or nothing when
  // the user cancelled. It is not called if the window is gone by then.
  void beginSheetModalForWindow(QWidget* window,
                                std::function<void(const std::optional<std::filesystem::path>&)> handler) const;
};

}  // namespace platform::ui
