// Buttons in the styles that the views use.
#pragma once

#include <QPushButton>
#include <QString>

namespace platform::ui {

enum class ButtonStyle {
  bordered,
  prominent,  // the one that leads on
  plain,      // a row without a border that lights up under the pointer and with the focus
};
enum class ButtonRole { normal, cancel, destructive };

// Enter presses it while it has the focus, as Space does, once for each press of the key. Main thread.
class PushButton : public QPushButton {
 public:
  PushButton(const QString& title, ButtonStyle style, ButtonRole role = ButtonRole::normal, QWidget* parent = nullptr);

  // Before the title, in its colour. The symbol must exist.
  void setSymbol(const QString& name);

 protected:
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void follow(const QPalette& palette);

  const ButtonStyle style_;
  const ButtonRole role_;
  QString symbol_;
  bool isFollowing_ = false;
};

}  // namespace platform::ui
