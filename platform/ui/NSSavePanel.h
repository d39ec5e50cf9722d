// Asks the user where to save a file.
#pragma once

#include <QString>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace platform::ui {

enum class UTType { json, application };

// Main thread.
class NSSavePanel {
 public:
  QString title;
  QString nameFieldStringValue;
  std::vector<UTType> allowedContentTypes;

  // Shows it over the window and returns at once. The handler gets the chosen place, at which there is no file, or
  // nothing when the user cancelled. It is not called if the window is gone by then.
  void beginSheetModalForWindow(QWidget* window,
                                std::function<void(const std::optional<std::filesystem::path>&)> handler) const;
};

}  // namespace platform::ui
