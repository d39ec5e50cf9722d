#include "platform/ui/TextStyle.h"

#include <QApplication>
#include <QFontInfo>

namespace platform::ui {
namespace {

qreal scaleOf(TextStyle style) {
  switch (style) {
    case TextStyle::title:
      return 1.7;
    case TextStyle::title3:
      return 1.15;
    case TextStyle::headline:
    case TextStyle::body:
      return 1;
    case TextStyle::subheadline:
      return 0.92;
    case TextStyle::caption:
      return 0.85;
    case TextStyle::smallCaption:
      return 0.8;
  }
  return 1;
}

}  // namespace

QFont fontOf(TextStyle style) {
  QFont font = QApplication::font();
  font.setPointSizeF(QFontInfo(font).pointSizeF() * scaleOf(style));
  if (style == TextStyle::title) font.setBold(true);
  if (style == TextStyle::headline) font.setWeight(QFont::DemiBold);
  return font;
}

// Qt 6.4 has no access to a font's own figures. Most fonts of desktops have digits of equal width by default; kerning
// between them is what could still shift them.
QFont monospacedDigits(const QFont& font) {
  QFont digits = font;
  digits.setKerning(false);
  return digits;
}

}  // namespace platform::ui
