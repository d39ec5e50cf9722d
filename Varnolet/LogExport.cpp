#include "Varnolet/LogExport.h"

#include <filesystem>
#include <optional>
#include <utility>

#include "platform/Tasks.h"
#include "platform/ui/NSSavePanel.h"

namespace varnolet {

void exportLog(std::shared_ptr<varnoletKit::EventLogManager> eventLogManager, const QString& title, QWidget* window) {
  platform::ui::NSSavePanel panel;
  panel.title = title;
  panel.nameFieldStringValue = QStringLiteral("blocked-events.json");
  panel.allowedContentTypes = {platform::ui::UTType::json};
  panel.beginSheetModalForWindow(
      window, [eventLogManager = std::move(eventLogManager)](const std::optional<std::filesystem::path>& location) {
        if (!location) return;
        // Wherever that is: a stick, or a folder far away.
        platform::runInBackground(platform::QualityOfService::userInitiated,
                                  [eventLogManager, to = *location] { eventLogManager->exportEvents(to); });
      });
}

}  // namespace varnolet
