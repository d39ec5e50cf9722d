#include "platform/ui/NSSavePanel.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
#include <utility>

#include "platform/ui/NSAlert.h"

namespace platform::ui {
namespace {

using Handler = std::function<void(const std::optional<std::filesystem::path>&)>;

void ask(const NSSavePanel& panel, QWidget* window, const QString& folder, const Handler& handler) {
  auto* dialog = new QFileDialog(window, panel.title, folder);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  // A file that is there stays: what is saved would not replace it.
  dialog->setOption(QFileDialog::DontConfirmOverwrite);
  if (std::ranges::find(panel.allowedContentTypes, UTType::json) != panel.allowedContentTypes.end()) {
    dialog->setNameFilter(QStringLiteral("JSON (*.json)"));
    dialog->setDefaultSuffix(QStringLiteral("json"));
  }
  dialog->selectFile(panel.nameFieldStringValue);
  QObject::connect(dialog, &QFileDialog::rejected, window, [handler] { handler(std::nullopt); });
  QObject::connect(dialog, &QFileDialog::fileSelected, window, [panel, window, handler](const QString& file) {
    const QFileInfo chosen(file);
    if (!chosen.exists()) {
      handler(std::filesystem::path(file.toStdString()));
      return;
    }
    NSAlert alert;
    alert.messageText = QStringLiteral("“%1” already exists").arg(chosen.fileName());
    alert.informativeText = QStringLiteral("Choose another name or another folder.");
    alert.addButton(QStringLiteral("Cancel"), ButtonRole::cancel, [handler] { handler(std::nullopt); });
    alert.addButton(QStringLiteral("Choose Another"), ButtonRole::normal,
                    [panel, window, handler, folder = chosen.path()] { ask(panel, window, folder, handler); });
    alert.beginSheetModalForWindow(window);
  });
  dialog->open();
}

}  // namespace

void NSSavePanel::beginSheetModalForWindow(QWidget* window, Handler handler) const {
  QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  if (!QDir(folder).exists()) folder = QDir::homePath();
  ask(*this, window, folder, handler);
}

}  // namespace platform::ui
