#include "Varnolet/SettingsView.h"

#include <QEvent>
#include <QVBoxLayout>
#include <array>
#include <utility>

#include "Varnolet/AboutTab.h"
#include "Varnolet/AdvancedTab.h"
#include "Varnolet/GeneralTab.h"
#include "Varnolet/WhitelistTab.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/NSImage.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr QSize frame(550, 450);
constexpr int margin = 5;
constexpr std::array symbols{"gear", "list.bullet.rectangle", "slider.horizontal.3", "info.circle"};

}  // namespace

SettingsView::SettingsView(std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
                           std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState,
                           std::shared_ptr<varnoletKit::EventLogManager> eventLogManager)
    : tabs_(new QTabWidget(this)) {
  tabs_->setAccessibleName(QStringLiteral("Settings"));
  tabs_->addTab(new GeneralTab(settingsManager, std::move(focusGuardState)), QStringLiteral("General"));
  tabs_->addTab(new WhitelistTab(settingsManager), QStringLiteral("Whitelist"));
  tabs_->addTab(new AdvancedTab(std::move(settingsManager), std::move(eventLogManager)), QStringLiteral("Advanced"));
  tabs_->addTab(new AboutTab, QStringLiteral("About"));
  drawSymbols();
  tabs_->setMinimumSize(frame.expandedTo(tabs_->minimumSizeHint()));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(margin, margin, margin, margin);
  layout->addWidget(tabs_);
}

void SettingsView::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) drawSymbols();
}

void SettingsView::drawSymbols() {
  for (int tab = 0; tab < tabs_->count(); ++tab) {
    tabs_->setTabIcon(
        tab, symbolIcon(QString::fromLatin1(symbols.at(static_cast<std::size_t>(tab))), NSColor::label(palette())));
  }
}

}  // namespace varnolet
