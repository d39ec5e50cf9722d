// One permission, on a card of its own: what it is for, whether it is granted, and the way to grant it.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>

#include "platform/ui/Label.h"
#include "varnoletKit/Observation.h"

namespace varnolet {

// Main thread only.
class PermissionCard : public QWidget {
 public:
  struct Permission {
    QString title;
    QString symbol;
    QString description;
    QString buttonAccessibleName;
    std::function<bool()> isGranted;  // reads what can be observed
    std::function<void()> openSettings;
  };

  PermissionCard(const Permission& permission, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void showStatus(const QString& title, bool isGranted);

  platform::ui::Label* status_;
  varnoletKit::Observation redrawing_;
};

}  // namespace varnolet
