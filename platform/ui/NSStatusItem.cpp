#include "platform/ui/NSStatusItem.h"

#include <cassert>

#include "platform/ui/TrayPresence.h"

namespace platform::ui {

void NSStatusBarButton::setImage(const NSImage& image) {
  image_ = image;
  if (!icon_) return;
  icon_->setIcon(image.icon());
  icon_->setToolTip(image.accessibilityDescription());
}

QRect NSStatusBarButton::frame() const {
  return icon_ ? icon_->geometry() : QRect();
}

void NSStatusBarButton::click(NSEventMask mouseUp) const {
  if ((mask_ & mouseUp) != 0 && action_) action_();
}

NSStatusItem::NSStatusItem([[maybe_unused]] double length)
    : presence_(std::make_unique<TrayPresence>([this](TrayKind kind) { showIn(kind); })),
      patience_(runOnMainThreadAfter(trayPatience, [this] {
        if (!icon_ && trayMissingHandler_) trayMissingHandler_();
      })) {
  assert(length == NSSquareStatusItemLength);
}

NSStatusItem::~NSStatusItem() = default;

// The toolkit chooses the kind once in a process and for good, when the first icon is made: so it is made only when
// there is a tray to put it in.
void NSStatusItem::showIn(TrayKind kind) {
  if (icon_ || kind == TrayKind::none) return;
  icon_ = std::make_unique<QSystemTrayIcon>();
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                   [this](QSystemTrayIcon::ActivationReason why) {
                     if (why == QSystemTrayIcon::Trigger || why == QSystemTrayIcon::DoubleClick)
                       button_.click(NSEventMaskLeftMouseUp);
                     if (why == QSystemTrayIcon::Context) button_.click(NSEventMaskRightMouseUp);
                   });
  button_.icon_ = icon_.get();
  if (button_.image_) button_.setImage(*button_.image_);
  icon_->show();
}

}  // namespace platform::ui
