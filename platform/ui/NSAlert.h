// A question to the user, over the window that it belongs to.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

#include "platform/ui/PushButton.h"

namespace platform::ui {

// Main thread.
class NSAlert {
 public:
  QString messageText;
  QString informativeText;

  // In the order in which they are shown; Escape presses the one with the role of cancel, and Enter the first one that
  // destroys nothing. Without any there is an "OK".
  void addButton(const QString& title, ButtonRole role, std::function<void()> action = nullptr);

  // Shows it over the window and returns at once; the window waits, the program does not. The action runs when it is
  // answered, not if the window is gone by then.
  void beginSheetModalForWindow(QWidget* window) const;

 private:
  struct Button {
    QString title;
    ButtonRole role;
    std::function<void()> action;
  };
  std::vector<Button> buttons_;
};

}  // namespace platform::ui
