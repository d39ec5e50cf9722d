#include "platform/ui/NSColor.h"

namespace platform::ui {
namespace {

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Window).lightnessF() < 0.5F;
}

// `share` of the text's colour over the window's.
QColor mixed(const QPalette& palette, float share) {
  const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
  const QColor window = palette.color(QPalette::Active, QPalette::Window);
  const auto mix = [share](float foreground, float background) {
    return foreground * share + background * (1 - share);
  };
  return QColor::fromRgbF(mix(text.redF(), window.redF()), mix(text.greenF(), window.greenF()),
                          mix(text.blueF(), window.blueF()));
}

}  // namespace

QColor NSColor::systemGreen() {
  return {0x2f, 0xb3, 0x50};
}
QColor NSColor::systemGray() {
  return {0x8e, 0x8e, 0x93};
}
QColor NSColor::systemOrange() {
  return {0xff, 0x8c, 0x00};
}

QColor NSColor::greenText(const QPalette& palette) {
  return isDark(palette) ? QColor(0x4c, 0xd2, 0x6b) : QColor(0x14, 0x73, 0x2e);
}
QColor NSColor::grayText(const QPalette& palette) {
  return isDark(palette) ? QColor(0xa8, 0xa8, 0xad) : QColor(0x5f, 0x5f, 0x64);
}
QColor NSColor::orangeText(const QPalette& palette) {
  return isDark(palette) ? QColor(0xff, 0xa6, 0x33) : QColor(0xa3, 0x4a, 0x00);
}
QColor NSColor::redText(const QPalette& palette) {
  return isDark(palette) ? QColor(0xff, 0x7b, 0x72) : QColor(0xb4, 0x1c, 0x1c);
}

QColor NSColor::label(const QPalette& palette) {
  return palette.color(QPalette::WindowText);
}
QColor NSColor::secondaryLabel(const QPalette& palette) {
  return mixed(palette, 0.75F);
}
QColor NSColor::tertiaryLabel(const QPalette& palette) {
  return mixed(palette, 0.66F);
}
QColor NSColor::quaternaryFill(const QPalette& palette) {
  return mixed(palette, 0.05F);
}
QColor NSColor::separator(const QPalette& palette) {
  return mixed(palette, 0.16F);
}
QColor NSColor::tint(const QPalette& palette) {
  return isDark(palette) ? QColor(0x5a, 0xa2, 0xff) : QColor(0x0a, 0x5d, 0xc2);
}
QColor NSColor::prominentFill() {
  return {0x14, 0x64, 0xc8};
}

}  // namespace platform::ui
