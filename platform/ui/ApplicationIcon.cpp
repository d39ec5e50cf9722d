#include "platform/ui/ApplicationIcon.h"

#include <QFileInfo>
#include <QString>

#include "platform/NSWorkspace.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/NSImage.h"

namespace platform::ui {

QIcon iconOfApplication(const std::optional<std::filesystem::path>& location, const QPalette& palette) {
  const QString icon =
      location ? QString::fromStdString(NSWorkspace::sharedWorkspace().iconForFile(*location)) : QString();
  if (QFileInfo(icon).isAbsolute() && QFileInfo(icon).isFile()) return QIcon(icon);
  if (!icon.isEmpty() && QIcon::hasThemeIcon(icon)) return QIcon::fromTheme(icon);
  return symbolIcon(QStringLiteral("app.dashed"), NSColor::secondaryLabel(palette));
}

}  // namespace platform::ui
