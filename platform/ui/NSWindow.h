// A window of the program.
#pragma once

#include <QString>
#include <QWidget>

namespace platform::ui {

enum NSWindowStyleMask : unsigned { titled = 1U << 0, closable = 1U << 1, resizable = 1U << 3 };

// Closing hides it; whoever made it owns it. Main thread.
class NSWindow : public QWidget {
 public:
  // `content` is taken over and fills the window; a window that is not resizable keeps the size. In device-independent
  // pixels.
  NSWindow(const QString& title, unsigned styleMask, const QSize& contentSize, QWidget* content);

  // On the screen that the pointer is on.
  void center();
  // Shows it and asks the window manager to put it before all others and to give it the keys.
  void makeKeyAndOrderFront();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
};

// Gives a view, whose layout is complete, this size at least, or what its content needs if that is more, as it may be
// with large fonts. Main thread.
void setFrame(QWidget& view, const QSize& size);

}  // namespace platform::ui
