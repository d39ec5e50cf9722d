// A line of text, with a symbol before it if it is given one.
#pragma once

#include <QLabel>
#include <QString>

#include "platform/ui/SymbolView.h"
#include "platform/ui/TextStyle.h"

namespace platform::ui {

// One element for a screen reader, read as its accessible name or, without one, as its text. The text is plain, never
// markup; what does not fit is cut in the middle, and its tool tip then shows it whole, unless words wrap. Main thread.
class Label : public QLabel {
 public:
  Label(const QString& text, TextStyle style, SymbolView::Color color, QWidget* parent = nullptr);

  // As high as a line of the text, or of the given style.
  void setSymbol(const QString& name, SymbolView::Color color);
  void setSymbol(const QString& name, SymbolView::Color color, TextStyle size);
  void setColor(SymbolView::Color color);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void setSymbol(const QString& name, SymbolView::Color color, int side);
  int symbolSpace() const;
  QString shownText() const;

  SymbolView::Color color_;
  QString symbol_;
  int symbolSide_ = 0;
  SymbolView::Color symbolColor_;
};

}  // namespace platform::ui
