#include "Varnolet/LogExport.h"

#include <filesystem>
#include <optional>

#include "platform/NSFileManager.h"
#include "platform/Tasks.h"
#include "platform/ui/NSSavePanel.h"

namespace varnolet {

void exportLog(const varnoletKit::EventLogManager& eventLogManager, const QString& title, QWidget* window) {
  platform::ui::NSSavePanel panel;
  panel.title = title;
  panel.nameFieldStringValue = QStringLiteral("blocked-events.json");
  panel.allowedContentTypes = {platform::ui::UTType::json};
  panel.beginSheetModalForWindow(
      window, [from = eventLogManager.exportURL()](const std::optional<std::filesystem::path>& location) {
        if (!location) return;
        // Wherever that is: a stick, or a folder far away.
        platform::runInBackground(platform::QualityOfService::userInitiated, [from, to = *location] {
          platform::NSFileManager::defaultManager().copyItem(from, to);
        });
      });
}

}  // namespace varnolet
