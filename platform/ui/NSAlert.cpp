#include "platform/ui/NSAlert.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

#include "platform/ui/Label.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/SymbolView.h"

namespace platform::ui {
namespace {

Label* lineOf(const QString& text, TextStyle style, QWidget* parent) {
  auto* line = new Label(text, style, &NSColor::label, parent);
  line->setWordWrap(true);
  line->setMinimumWidth(300);
  return line;
}

}  // namespace

void NSAlert::addButton(const QString& title, ButtonRole role, std::function<void()> action) {
  buttons_.push_back({title, role, std::move(action)});
}

void NSAlert::beginSheetModalForWindow(QWidget* window) const {
  auto* dialog = new QDialog(window);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(messageText);
  dialog->setAccessibleDescription(informativeText);

  auto* columns = new QHBoxLayout(dialog);
  columns->setContentsMargins(20, 20, 20, 16);
  columns->setSpacing(16);
  columns->addWidget(new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), 36, &NSColor::orangeText, dialog),
                     0, Qt::AlignTop);
  auto* column = new QVBoxLayout;
  columns->addLayout(column, 1);
  column->setSpacing(8);
  column->addWidget(lineOf(messageText, TextStyle::headline, dialog));
  column->addWidget(lineOf(informativeText, TextStyle::body, dialog));
  column->addSpacing(8);

  auto* answers = new QHBoxLayout;
  column->addLayout(answers);
  answers->addStretch();
  auto buttons = buttons_;
  if (buttons.empty()) buttons.push_back({QStringLiteral("OK"), ButtonRole::cancel, nullptr});
  bool hasDefault = false;
  for (const auto& button : buttons) {
    auto* widget = new PushButton(button.title, ButtonStyle::bordered, button.role, dialog);
    const bool isDefault = button.role != ButtonRole::destructive && !std::exchange(hasDefault, true);
    widget->setDefault(isDefault);
    if (isDefault) widget->setFocus();
    answers->addWidget(widget);
    if (button.role == ButtonRole::cancel) {
      QObject::connect(widget, &QPushButton::clicked, dialog, &QDialog::reject);
      if (button.action) QObject::connect(dialog, &QDialog::rejected, dialog, button.action);
    } else {
      QObject::connect(widget, &QPushButton::clicked, dialog, [dialog, action = button.action] {
        dialog->accept();
        if (action) action();
      });
    }
  }
  dialog->open();
}

}  // namespace platform::ui
