#include "platform/ui/NSOpenPanel.h"

#include <cassert>
#include <utility>

#include "platform/ui/ApplicationChooser.h"

namespace platform::ui {

void NSOpenPanel::beginSheetModalForWindow(
    QWidget* window, std::function<void(const std::optional<std::filesystem::path>&)> handler) const {
  assert(allowedContentTypes == std::vector{UTType::application});
  auto* chooser = new ApplicationChooser(title, window);
  chooser->setAttribute(Qt::WA_DeleteOnClose);
  QObject::connect(chooser, &QDialog::finished, window, [chooser, handler = std::move(handler)](int result) {
    handler(result == QDialog::Accepted ? chooser->chosen() : std::nullopt);
  });
  chooser->open();
}

}  // namespace platform::ui
