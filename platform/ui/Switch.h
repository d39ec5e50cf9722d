// A setting that is on or off at once, without a button to confirm it.
#pragma once

#include <QCheckBox>

namespace platform::ui {

// A check box in the shape of a switch; a screen reader takes it for the check box that it is. Main thread.
class Switch : public QCheckBox {
 public:
  explicit Switch(const QString& accessibleName, QWidget* parent = nullptr);

  QSize sizeHint() const override;

 protected:
  bool hitButton(const QPoint& position) const override;
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace platform::ui
