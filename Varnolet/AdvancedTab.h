// Settings: the timing of the guard, and the log of blocked events.
#pragma once

#include <QWidget>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/ui/FormSection.h"
#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// What it changes takes effect at the program's next start. Main thread only.
class AdvancedTab : public QWidget {
 public:
  AdvancedTab(std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
              std::shared_ptr<varnoletKit::EventLogManager> eventLogManager);

 private:
  // A number of the settings that is moved within a range.
  struct Slider {
    QString title;
    QString accessibleName;
    QString unit;            // after the number
    QString accessibleUnit;  // likewise, read aloud
    int least;
    int most;
    int step;
    std::int64_t varnoletKit::UserSettings::*field;
  };

  void addSlider(platform::ui::FormSection* section, const Slider& slider);
  QWidget* makeLogButtons();
  void showLogViewer();

  const std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  const std::shared_ptr<varnoletKit::EventLogManager> eventLogManager_;
  std::vector<varnoletKit::Observation> redrawing_;
};

}  // namespace varnolet
