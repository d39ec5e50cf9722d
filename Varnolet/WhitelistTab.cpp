#include "Varnolet/WhitelistTab.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

#include "Varnolet/WhitelistRow.h"
#include "platform/NSBundle.h"
#include "platform/NSFileManager.h"
#include "platform/NSWorkspace.h"
#include "platform/ui/ApplicationIcon.h"
#include "platform/ui/FormSection.h"
#include "platform/ui/NSAlert.h"
#include "platform/ui/NSOpenPanel.h"

namespace varnolet {

using namespace platform::ui;

WhitelistTab::WhitelistTab(std::shared_ptr<varnoletKit::SettingsManager> settingsManager)
    : settingsManager_(std::move(settingsManager)), list_(new QListWidget(this)) {
  list_->setAccessibleName(QStringLiteral("Whitelisted apps"));
  list_->setAlternatingRowColors(true);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setItemDelegate(new WhitelistRow(list_));
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(12, 12, 12, 0);
  column->setSpacing(0);
  column->addWidget(list_, 1);
  column->addSpacing(12);
  column->addWidget(makeDivider(this));
  column->addWidget(makeButtons());
  redrawing_ = varnoletKit::observe([this] { showWhitelist(); });
}

QWidget* WhitelistTab::makeButtons() {
  auto* row = new QWidget(this);
  auto* items = new QHBoxLayout(row);
  items->setContentsMargins(12, 12, 12, 12);
  auto* addButton = new PushButton(QStringLiteral("Add..."), ButtonStyle::bordered, ButtonRole::normal, row);
  removeButton_ = new PushButton(QStringLiteral("Remove"), ButtonStyle::bordered, ButtonRole::normal, row);
  auto* resetButton =
      new PushButton(QStringLiteral("Reset to Defaults"), ButtonStyle::bordered, ButtonRole::normal, row);
  items->addWidget(addButton);
  items->addWidget(removeButton_);
  items->addStretch();
  items->addWidget(resetButton);
  removeButton_->setEnabled(false);
  connect(list_, &QListWidget::itemSelectionChanged, this,
          [this] { removeButton_->setEnabled(selectedBundleID().has_value()); });
  connect(addButton, &QPushButton::clicked, this, &WhitelistTab::add);
  connect(removeButton_, &QPushButton::clicked, this, &WhitelistTab::remove);
  connect(resetButton, &QPushButton::clicked, this, &WhitelistTab::confirmReset);
  return row;
}

// Other settings change too, and looking up the applications takes time.
void WhitelistTab::showWhitelist() {
  const auto whitelist = settingsManager_->settings().whitelist;
  if (shown_ == whitelist) return;
  shown_ = whitelist;
  fill();
}

void WhitelistTab::fill() {
  const auto selected = selectedBundleID();
  list_->clear();
  for (const auto& bundleID : shown_) {
    addRow(bundleID);
    if (selected == bundleID) list_->setCurrentRow(list_->count() - 1);
  }
  // Clearing a list does not tell that its selection went.
  removeButton_->setEnabled(selectedBundleID().has_value());
}

// The drawn symbols among the icons have their colour from the palette.
void WhitelistTab::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) fill();
}

void WhitelistTab::addRow(const std::string& bundleID) {
  const auto location = platform::NSWorkspace::sharedWorkspace().URLForApplicationWithBundleIdentifier(bundleID);
  const std::string name = location ? platform::NSFileManager::defaultManager().displayNameAtPath(*location) : bundleID;
  auto* row = new QListWidgetItem(iconOfApplication(location, palette()), QString::fromStdString(name), list_);
  row->setData(WhitelistRow::bundleIDRole, QString::fromStdString(bundleID));
  row->setData(WhitelistRow::hasNameRole, location.has_value());
  row->setData(Qt::AccessibleTextRole, QStringLiteral("Whitelisted app: ") + QString::fromStdString(name));
}

std::optional<std::string> WhitelistTab::selectedBundleID() const {
  const auto selected = list_->selectedItems();
  if (selected.isEmpty()) return std::nullopt;
  return selected.first()->data(WhitelistRow::bundleIDRole).toString().toStdString();
}

void WhitelistTab::add() {
  NSOpenPanel panel;
  panel.title = QStringLiteral("Select an Application");
  panel.allowedContentTypes = {UTType::application};
  panel.beginSheetModalForWindow(this, [this](const std::optional<std::filesystem::path>& location) {
    if (location) addApplicationAt(*location);
  });
}

void WhitelistTab::addApplicationAt(const std::filesystem::path& location) {
  const auto bundle = platform::NSBundle::bundleWithURL(location);
  if (bundle && bundle->bundleIdentifier) settingsManager_->addToWhitelist(*bundle->bundleIdentifier);
}

void WhitelistTab::remove() {
  const auto bundleID = selectedBundleID();
  if (!bundleID) return;
  // Otherwise the button, disabled under the user's finger, would hand the keyboard on to the next one.
  list_->setFocus();
  list_->clearSelection();
  settingsManager_->removeFromWhitelist(*bundleID);
}

void WhitelistTab::confirmReset() {
  NSAlert alert;
  alert.messageText = QStringLiteral("Reset Whitelist");
  alert.informativeText = QStringLiteral(
      "This will restore the default apps to your whitelist. Apps you added manually will be preserved.");
  alert.addButton(QStringLiteral("Cancel"), ButtonRole::cancel);
  alert.addButton(QStringLiteral("Reset"), ButtonRole::destructive,
                  [this] { settingsManager_->resetWhitelistToDefaults(); });
  alert.beginSheetModalForWindow(this);
}

}  // namespace varnolet
