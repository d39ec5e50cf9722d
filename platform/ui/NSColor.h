// The colours of the user interface, in the light or the dark shade that the palette asks for.
#pragma once

#include <QColor>
#include <QPalette>

namespace platform::ui {

// Main thread, once the application object is there.
class NSColor {
 public:
  // Signals that stand out on panels of any colour, the same in light and dark.
  static QColor systemGreen();
  static QColor systemGray();
  static QColor systemOrange();

  // The same for text and for symbols beside it: with enough contrast on the palette's window.
  static QColor greenText(const QPalette& palette);
  static QColor grayText(const QPalette& palette);
  static QColor orangeText(const QPalette& palette);
  static QColor redText(const QPalette& palette);

  static QColor label(const QPalette& palette);
  static QColor secondaryLabel(const QPalette& palette);
  static QColor tertiaryLabel(const QPalette& palette);
  // A faint ground for what belongs together, and the line between its rows.
  static QColor quaternaryFill(const QPalette& palette);
  static QColor separator(const QPalette& palette);
  // For what is to catch the eye, as text or symbol.
  static QColor tint(const QPalette& palette);
  // The ground of a prominent button; its text is white.
  static QColor prominentFill();
};

}  // namespace platform::ui
