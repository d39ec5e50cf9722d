// Operating views as a user would, by what is written on them.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QString>
#include <QStringList>
#include <chrono>
#include <string>

#include "platform/simulated/SimulatedDesktop.h"

namespace varnolet {

// Lets everything happen that is due, on the desktop and in the toolkit.
inline void settle(platform::simulated::SimulatedDesktop& desktop) {
  for (int i = 0; i < 3; ++i) {
    desktop.settle();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

// The control of that accessible name or, without one, that text; fails the test and answers null if there is none.
template <class Control = QAbstractButton>
Control* find(const QWidget& view, const QString& name) {
  for (auto* control : view.findChildren<Control*>()) {
    if (control->accessibleName() == name) return control;
    if constexpr (std::is_base_of_v<QAbstractButton, Control>) {
      if (control->accessibleName().isEmpty() && control->text() == name) return control;
    }
  }
  ADD_FAILURE() << "no control is named " << name.toStdString();
  return nullptr;
}

inline void click(const QWidget& view, const QString& name) {
  if (auto* button = find(view, name)) button->click();
}

// The texts of the lines that are shown, from top to bottom of their making.
inline QStringList shownTexts(const QWidget& view) {
  QStringList texts;
  for (const auto* label : view.findChildren<QLabel*>()) {
    if (label->isVisibleTo(&view)) texts << label->text();
  }
  return texts;
}

// Whether anything of the view is drawn in just that colour.
inline bool draws(QWidget& view, const QColor& color) {
  const QImage picture = view.grab().toImage();
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      if (picture.pixel(x, y) == color.rgb()) return true;
    }
  }
  return false;
}

// The dialog that is open over the program's windows; null if there is none.
template <class Dialog = QDialog>
Dialog* openDialog() {
  for (auto* widget : QApplication::topLevelWidgets()) {
    if (auto* dialog = dynamic_cast<Dialog*>(widget); dialog && dialog->isVisible()) return dialog;
  }
  return nullptr;
}

// The shown windows of that title.
inline int shownWindows(const QString& title) {
  int count = 0;
  for (const auto* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible() && widget->windowTitle() == title) ++count;
  }
  return count;
}

}  // namespace varnolet

inline void PrintTo(const QString& text, std::ostream* stream) {
  *stream << text.toStdString();
}
