// What the log viewer shows in place of its table.
#pragma once

#include <QWidget>

namespace varnolet {

QWidget* makeLoadingPanel(QWidget* parent);
QWidget* makeEmptyPanel(QWidget* parent);

}  // namespace varnolet
