#include "platform/ui/PushButton.h"

#include <QEvent>
#include <QKeyEvent>
#include <utility>

#include "platform/ui/NSColor.h"
#include "platform/ui/NSImage.h"

namespace platform::ui {
namespace {

QColor textColorOf(ButtonStyle style, ButtonRole role, const QPalette& palette) {
  if (style == ButtonStyle::prominent) return Qt::white;
  return role == ButtonRole::destructive ? NSColor::redText(palette) : NSColor::label(palette);
}

QString sheetOf(ButtonStyle style, const QColor& text, const QPalette& palette) {
  const auto name = [](const QColor& color) { return color.name(); };
  if (style == ButtonStyle::plain) {
    return QStringLiteral(
               "QPushButton { outline: none; color: %1; text-align: left; padding: 3px 6px; border: 1px solid "
               "transparent; "
               "border-radius: 5px; background: transparent }"
               "QPushButton:hover, QPushButton:pressed { background: %2 } QPushButton:focus { border-color: %3 }")
        .arg(name(text), name(NSColor::separator(palette)), name(NSColor::tint(palette)));
  }
  if (style == ButtonStyle::prominent) {
    return QStringLiteral(
               "QPushButton { outline: none; color: %1; background: %2; padding: 4px 12px; border: 2px solid "
               "transparent; "
               "border-radius: 6px } QPushButton:pressed { background: %3 } QPushButton:focus { border-color: %4 }"
               "QPushButton:disabled { color: %5; background: %6 }")
        .arg(name(text), name(NSColor::prominentFill()), name(NSColor::prominentFill().darker(120)),
             name(NSColor::label(palette)), name(NSColor::grayText(palette)), name(NSColor::separator(palette)));
  }
  return QStringLiteral(
             "QPushButton { outline: none; color: %1; background: %2; padding: 4px 12px; border: 1px solid %3; "
             "border-radius: 6px }"
             "QPushButton:hover, QPushButton:pressed { background: %3 } QPushButton:focus { border-color: %4 }"
             "QPushButton:disabled { color: %5 }")
      .arg(name(text), name(NSColor::quaternaryFill(palette)), name(NSColor::separator(palette)),
           name(NSColor::tint(palette)), name(NSColor::grayText(palette)));
}

}  // namespace

PushButton::PushButton(const QString& title, ButtonStyle style, ButtonRole role, QWidget* parent)
    : QPushButton(title, parent), style_(style), role_(role) {
  // In a dialog Enter belongs to the control that has the focus.
  setAutoDefault(false);
  follow(palette());
}

void PushButton::setSymbol(const QString& name) {
  symbol_ = name;
  follow(palette());
}

void PushButton::changeEvent(QEvent* event) {
  QPushButton::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) follow(palette());
}

void PushButton::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    // Held, it would press what comes to stand in this button's place, too.
    if (!event->isAutoRepeat()) click();
    return;
  }
  QPushButton::keyPressEvent(event);
}

// A style sheet changes the palette in its turn.
void PushButton::follow(const QPalette& palette) {
  if (std::exchange(isFollowing_, true)) return;
  // The window's, which no style sheet of ours has touched.
  const QPalette ground = parentWidget() ? parentWidget()->palette() : palette;
  const QColor text = textColorOf(style_, role_, ground);
  setStyleSheet(sheetOf(style_, text, ground));
  if (!symbol_.isEmpty()) setIcon(symbolIcon(symbol_, text));
  isFollowing_ = false;
}

}  // namespace platform::ui
