#include "Varnolet/AdvancedTab.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "Varnolet/LogExport.h"
#include "Varnolet/LogViewerView.h"
#include "Varnolet/SettingBinding.h"
#include "platform/ui/Label.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/PushButton.h"

namespace varnolet {

using namespace platform::ui;
using varnoletKit::UserSettings;

AdvancedTab::AdvancedTab(std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
                         std::shared_ptr<varnoletKit::EventLogManager> eventLogManager)
    : settingsManager_(std::move(settingsManager)), eventLogManager_(std::move(eventLogManager)) {
  auto* gestures = new FormSection(QStringLiteral("Gesture Detection"), this);
  addSlider(gestures,
            {QStringLiteral("Gesture Detection Window"), QStringLiteral("Gesture detection window"),
             QStringLiteral(" ms"), QStringLiteral(" milliseconds"), 200, 1000, 50, &UserSettings::gestureWindowMs});
  addSlider(gestures, {QStringLiteral("Buffer Timeout"), QStringLiteral("Buffer timeout"), QStringLiteral(" ms"),
                       QStringLiteral(" milliseconds"), 200, 1000, 50, &UserSettings::bufferTimeoutMs});
  auto* log = new FormSection(QStringLiteral("Event Log"), this);
  addSlider(log, {QStringLiteral("Log Retention"), QStringLiteral("Log retention period"), QStringLiteral(" days"),
                  QStringLiteral(" days"), 7, 90, 1, &UserSettings::logRetentionDays});
  log->addRow(makeLogButtons());

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(20, 20, 20, 20);
  column->setSpacing(20);
  column->addWidget(gestures);
  column->addWidget(log);
  column->addStretch();
}

void AdvancedTab::addSlider(FormSection* section, const Slider& slider) {
  auto* row = new QWidget(section);
  auto* title = new Label(slider.title, TextStyle::body, &NSColor::label, row);
  auto* value = new Label({}, TextStyle::body, &NSColor::secondaryLabel, row);
  value->setFont(monospacedDigits(value->font()));
  auto* control = new QSlider(Qt::Horizontal, row);
  control->setRange(slider.least, slider.most);
  control->setSingleStep(slider.step);
  control->setPageStep(2 * slider.step);
  control->setAccessibleName(slider.accessibleName);

  auto* header = new QHBoxLayout;
  header->addWidget(title, 1);
  header->addWidget(value);
  auto* column = new QVBoxLayout(row);
  column->setContentsMargins(0, 0, 0, 0);
  column->addLayout(header);
  column->addWidget(control);
  section->addRow(row);

  redrawing_.push_back(varnoletKit::observe([this, control, value, slider] {
    const std::int64_t stored = settingsManager_->settings().*slider.field;
    value->setText(QString::number(stored) + slider.unit);
    control->setAccessibleDescription(QString::number(stored) + slider.accessibleUnit);
    // Out of the slider's range it is shown at the end, and kept until the user moves it.
    const QSignalBlocker quiet(control);
    control->setValue(static_cast<int>(std::clamp<std::int64_t>(stored, slider.least, slider.most)));
  }));
  connect(control, &QSlider::valueChanged, this, [this, control, slider](int position) {
    const int stepped = slider.least + (position - slider.least + slider.step / 2) / slider.step * slider.step;
    if (stepped != position) {
      const QSignalBlocker quiet(control);
      control->setValue(stepped);
    }
    storeSetting<std::int64_t>(*settingsManager_, slider.field, stepped);
  });
}

QWidget* AdvancedTab::makeLogButtons() {
  auto* row = new QWidget(this);
  auto* items = new QHBoxLayout(row);
  items->setContentsMargins(0, 0, 0, 0);
  auto* exportButton = new PushButton(QStringLiteral("Export Log"), ButtonStyle::bordered, ButtonRole::normal, row);
  auto* viewButton = new PushButton(QStringLiteral("View Log"), ButtonStyle::bordered, ButtonRole::normal, row);
  items->addWidget(exportButton);
  items->addWidget(viewButton);
  items->addStretch();
  connect(exportButton, &QPushButton::clicked, this,
          [this] { exportLog(eventLogManager_, QStringLiteral("Export Blocked Events Log"), this); });
  connect(viewButton, &QPushButton::clicked, this, &AdvancedTab::showLogViewer);
  return row;
}

void AdvancedTab::showLogViewer() {
  auto* sheet = new QDialog(this);
  sheet->setAttribute(Qt::WA_DeleteOnClose);
  sheet->setWindowTitle(QStringLiteral("Blocked Events Log"));
  auto* layout = new QVBoxLayout(sheet);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(new LogViewerView(eventLogManager_));
  sheet->open();
}

}  // namespace varnolet
