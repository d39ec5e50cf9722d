// A titled group of settings, one row each.
#pragma once

#include <QString>
#include <QWidget>

class QVBoxLayout;

namespace platform::ui {

// Lines stand between the rows. Main thread.
class FormSection : public QWidget {
 public:
  explicit FormSection(const QString& title, QWidget* parent = nullptr);

  // Takes the row over.
  void addRow(QWidget* row);
  // A title on the left and a control on the right. The title is for the eye: the control names itself.
  void addRow(const QString& title, QWidget* control);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QWidget* card_;
  QVBoxLayout* rows_;
};

// A line as wide as there is room.
QWidget* makeDivider(QWidget* parent = nullptr);

}  // namespace platform::ui
