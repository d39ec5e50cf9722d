#include "platform/ui/AccessiblePopups.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QApplication>
#include <QWidget>
#include <QWidgetList>

namespace platform::ui {
namespace {

QWidgetList shownPopups() {
  QWidgetList popups;
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->windowType() == Qt::Popup && widget->isVisible() && !widget->parentWidget()) popups.push_back(widget);
  }
  return popups;
}

class AccessibleApplication : public QAccessibleApplication {
 public:
  int childCount() const override {
    return QAccessibleApplication::childCount() + static_cast<int>(shownPopups().size());
  }

  int indexOfChild(const QAccessibleInterface* child) const override {
    const auto popup = shownPopups().indexOf(qobject_cast<QWidget*>(child->object()));
    return popup < 0 ? QAccessibleApplication::indexOfChild(child)
                     : QAccessibleApplication::childCount() + static_cast<int>(popup);
  }

  QAccessibleInterface* child(int index) const override {
    const int windows = QAccessibleApplication::childCount();
    if (index < windows) return QAccessibleApplication::child(index);
    return QAccessible::queryAccessibleInterface(shownPopups().value(index - windows));
  }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
  return object && object == QCoreApplication::instance() ? new AccessibleApplication : nullptr;
}

}  // namespace

void showPopupsToAssistivePrograms() {
  QAccessible::installFactory(makeInterface);
}

}  // namespace platform::ui
