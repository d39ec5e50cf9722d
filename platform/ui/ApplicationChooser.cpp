#include "platform/ui/ApplicationChooser.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "platform/NSFileManager.h"
#include "platform/NSWorkspace.h"
#include "platform/ui/ApplicationIcon.h"

namespace platform::ui {
namespace {

constexpr int placeRole = Qt::UserRole;

}  // namespace

ApplicationChooser::ApplicationChooser(const QString& title, QWidget* parent)
    : QDialog(parent), search_(new QLineEdit(this)), applications_(new QListWidget(this)) {
  setWindowTitle(title);
  resize(420, 440);
  search_->setPlaceholderText(QStringLiteral("Search"));
  search_->setAccessibleName(QStringLiteral("Search applications"));
  search_->setClearButtonEnabled(true);
  applications_->setAccessibleName(QStringLiteral("Applications"));
  applications_->setIconSize({24, 24});
  fill();

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Open | QDialogButtonBox::Cancel, this);
  auto* open = buttons->button(QDialogButtonBox::Open);
  open->setEnabled(false);
  auto* column = new QVBoxLayout(this);
  column->addWidget(search_);
  column->addWidget(applications_, 1);
  column->addWidget(buttons);

  connect(search_, &QLineEdit::textChanged, this, &ApplicationChooser::showMatching);
  connect(applications_, &QListWidget::itemSelectionChanged, open, [this, open] { open->setEnabled(!!chosen()); });
  connect(applications_, &QListWidget::itemActivated, this, &ApplicationChooser::acceptChoice);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  search_->setFocus();
}

std::optional<std::filesystem::path> ApplicationChooser::chosen() const {
  const auto selected = applications_->selectedItems();
  if (selected.isEmpty() || selected.first()->isHidden()) return std::nullopt;
  return locations_.at(selected.first()->data(placeRole).toUInt());
}

void ApplicationChooser::fill() {
  locations_ = NSWorkspace::sharedWorkspace().installedApplications();
  for (std::size_t place = 0; place < locations_.size(); ++place) {
    const auto& location = locations_[place];
    const QString name = QString::fromStdString(NSFileManager::defaultManager().displayNameAtPath(location));
    auto* item = new QListWidgetItem(iconOfApplication(location, palette()), name, applications_);
    item->setData(placeRole, static_cast<uint>(place));
  }
  applications_->sortItems();
}

// The row that is current may be one that does not match.
void ApplicationChooser::acceptChoice() {
  if (chosen()) accept();
}

void ApplicationChooser::showMatching(const QString& words) {
  for (int row = 0; row < applications_->count(); ++row) {
    auto* item = applications_->item(row);
    item->setHidden(!item->text().contains(words.trimmed(), Qt::CaseInsensitive));
    if (item->isHidden()) item->setSelected(false);
  }
  for (int row = 0; row < applications_->count() && !words.isEmpty() && !chosen(); ++row) {
    if (!applications_->item(row)->isHidden()) applications_->setCurrentRow(row);
  }
}

}  // namespace platform::ui
