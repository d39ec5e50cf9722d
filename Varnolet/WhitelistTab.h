// Settings: the applications that may take the focus.
#pragma once

#include <QListWidget>
#include <QWidget>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/ui/PushButton.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Main thread only.
class WhitelistTab : public QWidget {
 public:
  explicit WhitelistTab(std::shared_ptr<varnoletKit::SettingsManager> settingsManager);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  QWidget* makeButtons();
  void showWhitelist();
  void fill();
  void addRow(const std::string& bundleID);
  // Absent while no row is selected.
  std::optional<std::string> selectedBundleID() const;
  void add();
  void addApplicationAt(const std::filesystem::path& location);
  void remove();
  void confirmReset();

  const std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  QListWidget* list_;
  platform::ui::PushButton* removeButton_ = nullptr;
  std::set<std::string> shown_;
  varnoletKit::Observation redrawing_;
};

}  // namespace varnolet
