// The program's item in the desktop's tray.
#pragma once

#include <QObject>
#include <QRect>
#include <QString>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <optional>

#include "platform/Tasks.h"
#include "platform/ui/NSImage.h"

namespace platform::ui {

class TrayPresence;
enum class TrayKind;

inline constexpr double NSSquareStatusItemLength = -2;

// Which presses of the mouse a button acts on; bits.
using NSEventMask = std::uint32_t;
inline constexpr NSEventMask NSEventMaskLeftMouseUp = 1U << 2;
inline constexpr NSEventMask NSEventMaskRightMouseUp = 1U << 4;

// Main thread.
class NSStatusBarButton {
 public:
  const std::optional<NSImage>& image() const { return image_; }
  void setImage(const NSImage& image);
  void setAction(std::function<void()> action) { action_ = std::move(action); }
  void sendActionOn(NSEventMask mask) { mask_ = mask; }
  // On the screen; empty where the tray does not tell.
  QRect frame() const;

  // The user clicked, with the buttons of the mask.
  void click(NSEventMask mouseUp) const;

 private:
  friend class NSStatusItem;

  std::optional<NSImage> image_;
  std::function<void()> action_;
  NSEventMask mask_ = NSEventMaskLeftMouseUp;
  QSystemTrayIcon* icon_ = nullptr;
};

// Shown as soon as the desktop has a tray, and gone with this object. Main thread.
class NSStatusItem {
 public:
  // How long a tray may take to come before the user is told that there is none.
  static constexpr auto trayPatience = std::chrono::seconds(10);

  // Trays have squares only.
  explicit NSStatusItem(double length);
  NSStatusItem(const NSStatusItem&) = delete;
  NSStatusItem& operator=(const NSStatusItem&) = delete;
  ~NSStatusItem();

  NSStatusBarButton* button() { return &button_; }
  // Called once if no tray came in time; one may still come later.
  void setTrayMissingHandler(std::function<void()> handler) { trayMissingHandler_ = std::move(handler); }

 private:
  void showIn(TrayKind kind);

  NSStatusBarButton button_;
  std::function<void()> trayMissingHandler_;
  std::unique_ptr<QSystemTrayIcon> icon_;
  std::unique_ptr<TrayPresence> presence_;
  ScheduledTask patience_;
};

}  // namespace platform::ui
