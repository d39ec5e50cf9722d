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

  // What the text needs on a card of that width, and what it gets: so that cards side by side line up. The least is 48.
  int descriptionHeightFor(int cardWidth) const;
  void setDescriptionHeight(int height) { description_->setFixedHeight(height); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void showStatus(const QString& title, bool isGranted);

  platform::ui::Label* description_;
  platform::ui::Label* status_;
  varnoletKit::Observation redrawing_;
};

}  // namespace varnolet
