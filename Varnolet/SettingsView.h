// The settings, in four tabs.
#pragma once

#include <QTabWidget>
#include <memory>

#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Every control stores what it changes at once, but for the switch of the protection, which nothing keeps. Opens at the
// first tab. Main thread only.
class SettingsView : public QWidget {
 public:
  // Of a window around it; the size in device-independent pixels.
  static constexpr char title[] = "Varnolet Settings";
  static constexpr QSize contentSize{560, 480};

  SettingsView(std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
               std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState,
               std::shared_ptr<varnoletKit::EventLogManager> eventLogManager);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void drawSymbols();

  QTabWidget* tabs_;
};

}  // namespace varnolet
