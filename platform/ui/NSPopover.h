// A panel that hangs from a place on the screen and goes away when the user looks elsewhere.
#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include "platform/ui/PopoverKeyboard.h"

namespace platform::ui {

// Transient: a click elsewhere and Escape close it, and so does typing. It has the keyboard while it is shown, for the
// keys that operate it (PopoverKeyboard.h); all others go to the application in front. No window loses the focus to it:
// the desktop's active window stays what it was. Main thread.
class NSPopover : public QWidget {
 public:
  NSPopover();

  // The least size, in device-independent pixels: content that needs more gets it.
  void setContentSize(const QSize& size);
  // Takes the content over and deletes the one before it.
  void setContent(QWidget* content);

  // Below the anchor, in the coordinates of the screen, or above where there is no room; at the pointer if the anchor
  // is empty. Always whole on one screen.
  void showRelativeTo(const QRect& anchor);
  bool isShown() const { return isVisible(); }
  // True at the click that has just closed it.
  bool wasClosedByThisClick() const;
  void performClose() { close(); }

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QWidget* content_ = nullptr;
  QSize contentSize_;
  QElapsedTimer closedByClick_;
  PopoverKeyboard keyboard_;
};

}  // namespace platform::ui
