// A symbol on its own, as decoration.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>

namespace platform::ui {

// Nothing that a screen reader would stop at. Main thread.
class SymbolView : public QWidget {
 public:
  // Asked at every drawing, so that it follows the palette.
  using Color = std::function<QColor(const QPalette&)>;

  SymbolView(const QString& name, int side, Color color, QWidget* parent = nullptr);

  void setColor(Color color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString name_;
  Color color_;
};

}  // namespace platform::ui
