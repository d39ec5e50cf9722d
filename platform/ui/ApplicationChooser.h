// A list of the installed applications to choose one from.
#pragma once

#include <QDialog>
#include <QString>
#include <filesystem>
#include <optional>
#include <vector>

class QLineEdit;
class QListWidget;

namespace platform::ui {

// Main thread.
class ApplicationChooser : public QDialog {
 public:
  ApplicationChooser(const QString& title, QWidget* parent);

  // Absent while none is selected.
  std::optional<std::filesystem::path> chosen() const;

 private:
  void fill();
  void acceptChoice();
  void showMatching(const QString& words);

  QLineEdit* search_;
  QListWidget* applications_;
  // The rows know their places here: a path may be no text.
  std::vector<std::filesystem::path> locations_;
};

}  // namespace platform::ui
