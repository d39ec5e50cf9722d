// A list of the installed applications to choose one from.
#pragma once

#include <QDialog>
#include <QString>
#include <filesystem>
#include <optional>

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
  void showMatching(const QString& words);

  QLineEdit* search_;
  QListWidget* applications_;
};

}  // namespace platform::ui
