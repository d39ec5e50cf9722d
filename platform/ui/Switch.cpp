#include "platform/ui/Switch.h"

#include <QPainter>

#include "platform/ui/NSColor.h"

namespace platform::ui {
namespace {

constexpr QSize track(38, 22);
constexpr int focusRoom = 3;  // around the track, for the ring that shows the keyboard focus
constexpr int rim = 2;        // between the track's edge and the knob

}  // namespace

Switch::Switch(const QString& accessibleName, QWidget* parent) : QCheckBox(parent) {
  setAccessibleName(accessibleName);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Switch::sizeHint() const {
  return track.grownBy({focusRoom, focusRoom, focusRoom, focusRoom});
}

bool Switch::hitButton(const QPoint& position) const {
  return rect().contains(position);
}

void Switch::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setOpacity(isEnabled() ? 1 : 0.5);
  const QRectF outline(QPointF(focusRoom, (height() - track.height()) / 2.0), track);
  const qreal radius = outline.height() / 2;
  painter.setPen(Qt::NoPen);
  painter.setBrush(isChecked() ? NSColor::prominentFill() : NSColor::systemGray());
  painter.drawRoundedRect(outline, radius, radius);

  const qreal side = outline.height() - 2 * rim;
  const qreal left = isChecked() ? outline.right() - rim - side : outline.left() + rim;
  painter.setBrush(Qt::white);
  painter.drawEllipse(QRectF(left, outline.top() + rim, side, side));

  if (hasFocus()) {
    painter.setPen(QPen(NSColor::tint(palette()), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(outline.adjusted(-2, -2, 2, 2), radius + 2, radius + 2);
  }
}

}  // namespace platform::ui
