// Icons of installed applications.
#pragma once

#include <QIcon>
#include <QPalette>
#include <filesystem>
#include <optional>

namespace platform::ui {

// What the desktop shows for the application at this location; the symbol "app.dashed" where there is no location, or
// no icon. Main thread.
QIcon iconOfApplication(const std::optional<std::filesystem::path>& location, const QPalette& palette);

}  // namespace platform::ui
