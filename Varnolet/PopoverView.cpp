#include "Varnolet/PopoverView.h"

#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "Varnolet/RelativeTime.h"
#include "platform/NSWorkspace.h"
#include "platform/ui/FormSection.h"
#include "platform/ui/NSApplication.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/PushButton.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr int leastWidth = 290;
constexpr int padding = 14;
constexpr int spacing = 10;

QVBoxLayout* addColumn(QVBoxLayout* parent, int spacingInside) {
  auto* column = new QVBoxLayout;
  column->setSpacing(spacingInside);
  parent->addLayout(column);
  return column;
}

PushButton* makeButton(const QString& title, const QString& symbol, const QString& accessibleName, ButtonStyle style,
                       QWidget* parent, ButtonRole role = ButtonRole::normal) {
  auto* button = new PushButton(title, style, role, parent);
  button->setSymbol(symbol);
  button->setAccessibleName(accessibleName);
  // Not by a click, after which the user may go on typing.
  button->setFocusPolicy(Qt::TabFocus);
  return button;
}

}  // namespace

PopoverView::PopoverView(std::shared_ptr<varnoletKit::FocusGuardState> state,
                         std::shared_ptr<varnoletKit::SettingsManager> settingsManager,
                         std::shared_ptr<PauseManager> pauseManager, Callbacks callbacks)
    : state_(std::move(state)),
      settingsManager_(std::move(settingsManager)),
      pauseManager_(std::move(pauseManager)),
      terminations_(platform::NSWorkspace::sharedWorkspace().notificationCenter().addObserverForName(
          platform::NSWorkspaceDidTerminateApplicationNotification, platform::NSOperationQueue::mainQueue,
          [this](const platform::NSNotification&) { redraw(); })) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(padding, padding, padding, padding);
  column->setSpacing(spacing);
  header_ = new Label({}, TextStyle::headline, &NSColor::grayText, this);
  column->addWidget(header_);
  column->addWidget(makeDivider(this));
  addStatusBlock(column);
  column->addWidget(makeDivider(this));
  addPauseBlock(column);
  column->addWidget(makeDivider(this));
  addFooter(column, std::move(callbacks));
  column->addStretch();
  redrawing_ = varnoletKit::observe([this] { redraw(); });
}

PopoverView::~PopoverView() {
  platform::NSWorkspace::sharedWorkspace().notificationCenter().removeObserver(terminations_);
}

void PopoverView::addStatusBlock(QVBoxLayout* parent) {
  auto* column = addColumn(parent, 6);
  protecting_ = new Label({}, TextStyle::subheadline, &NSColor::label, this);
  protecting_->setSymbol(QStringLiteral("lock.shield"), &NSColor::secondaryLabel);
  lastBlocked_ = new Label({}, TextStyle::subheadline, &NSColor::secondaryLabel, this);
  lastBlocked_->setSymbol(QStringLiteral("hand.raised.fill"), &NSColor::orangeText);
  blockedToday_ = new Label({}, TextStyle::subheadline, &NSColor::secondaryLabel, this);
  blockedToday_->setSymbol(QStringLiteral("chart.bar.fill"), &NSColor::secondaryLabel);
  for (auto* line : {protecting_, lastBlocked_, blockedToday_}) column->addWidget(line);
}

void PopoverView::addPauseBlock(QVBoxLayout* parent) {
  auto* column = addColumn(parent, 0);
  pauseButtons_ = new QWidget(this);
  auto* choices = new QVBoxLayout(pauseButtons_);
  choices->setContentsMargins(0, 0, 0, 0);
  choices->setSpacing(6);
  auto* forOneHour =
      makeButton(QStringLiteral("Pause for 1 Hour"), QStringLiteral("pause.fill"),
                 QStringLiteral("Pause focus protection for one hour"), ButtonStyle::bordered, pauseButtons_);
  auto* untilEnabled = makeButton(QStringLiteral("Pause Until Re-enabled"), QStringLiteral("pause.circle"),
                                  QStringLiteral("Pause focus protection until manually re-enabled"),
                                  ButtonStyle::bordered, pauseButtons_);
  auto* resume = makeButton(QStringLiteral("Resume Protection"), QStringLiteral("play.fill"),
                            QStringLiteral("Resume focus protection"), ButtonStyle::bordered, this);
  resumeButton_ = resume;
  choices->addWidget(forOneHour, 0, Qt::AlignHCenter);
  choices->addWidget(untilEnabled, 0, Qt::AlignHCenter);
  column->addWidget(pauseButtons_);
  column->addWidget(resume, 0, Qt::AlignHCenter);
  connect(forOneHour, &QPushButton::clicked, this, [this] { pauseManager_->pauseForOneHour(); });
  connect(untilEnabled, &QPushButton::clicked, this, [this] { pauseManager_->pauseIndefinitely(); });
  connect(resume, &QPushButton::clicked, this, [this] { pauseManager_->resume(); });
}

void PopoverView::addFooter(QVBoxLayout* parent, Callbacks callbacks) {
  auto* column = addColumn(parent, 4);
  const auto addRow = [this, column](const QString& title, const QString& symbol, const QString& accessibleName,
                                     std::function<void()> action, ButtonRole role = ButtonRole::normal) {
    auto* row = makeButton(title, symbol, accessibleName, ButtonStyle::plain, this, role);
    column->addWidget(row);
    connect(row, &QPushButton::clicked, this, [action = std::move(action)] { action(); });
  };
  addRow(QStringLiteral("View Log"), QStringLiteral("list.bullet.rectangle"), QStringLiteral("View blocked events log"),
         std::move(callbacks.onShowLog));
  addRow(QStringLiteral("Whitelist"), QStringLiteral("list.bullet.rectangle.portrait"),
         QStringLiteral("Open whitelist settings"), std::move(callbacks.onShowWhitelist));
  addRow(QStringLiteral("Settings"), QStringLiteral("gear"), QStringLiteral("Open settings"),
         std::move(callbacks.onShowSettings));
  column->addWidget(makeDivider(this));
  addRow(
      QStringLiteral("Quit Varnolet"), QStringLiteral("power"), QStringLiteral("Quit Varnolet"),
      [] { NSApplication::sharedApplication()->terminate(); }, ButtonRole::destructive);
}

void PopoverView::redraw() {
  const bool isPaused = pauseManager_->isPaused();
  const bool isEnabled = state_->isEnabled();
  const QString word = isPaused    ? QStringLiteral("Paused")
                       : isEnabled ? QStringLiteral("Active")
                                   : QStringLiteral("Disabled");
  const auto color = !isPaused && isEnabled ? &NSColor::greenText : &NSColor::grayText;
  header_->setText(QStringLiteral("Varnolet — ") + word);
  header_->setAccessibleName(QStringLiteral("Varnolet ") + word);
  header_->setColor(color);
  header_->setSymbol(QStringLiteral("shield.checkered"), color, TextStyle::title3);
  // The one that goes must not take the keyboard focus with it to where the user cannot follow.
  const bool hadFocus = pauseButtons_->isAncestorOf(focusWidget()) || resumeButton_->hasFocus();
  pauseButtons_->setVisible(!isPaused);
  resumeButton_->setVisible(isPaused);
  if (hadFocus) (isPaused ? resumeButton_ : pauseButtons_->findChild<PushButton*>())->setFocus();
  redrawStatus();
  fitWidth();
}

// Names of applications are cut to the width; what the view itself says is not, however large its letters are.
void PopoverView::fitWidth() {
  int widest = header_->sizeHint().width();
  for (const auto* button : findChildren<PushButton*>()) widest = std::max(widest, button->sizeHint().width());
  setFixedWidth(std::max(leastWidth, widest + 2 * padding));
}

void PopoverView::redrawStatus() {
  // Whoever has ended, or is not guarded now, is still the blessed app.
  const auto blessedApp = state_->blessedApp();
  const bool isProtected = blessedApp && state_->isEnabled() && !blessedApp->isTerminated();
  const auto protectedName = isProtected ? blessedApp->localizedName() : std::nullopt;
  protecting_->setVisible(protectedName.has_value());
  if (protectedName) {
    const QString name = QString::fromStdString(*protectedName);
    protecting_->setText(QStringLiteral("Protecting: ") + name);
    protecting_->setAccessibleName(QStringLiteral("Currently protecting ") + name);
  }

  const auto blockedName = state_->lastBlockedApp();
  const auto blockedTime = state_->lastBlockedTime();
  lastBlocked_->setVisible(blockedName && blockedTime);
  if (blockedName && blockedTime) {
    const QString name = QString::fromStdString(*blockedName);
    const QString time = QString::fromStdString(relativeTime(*blockedTime, platform::dateNow()));
    lastBlocked_->setText(QStringLiteral("Last blocked: ") + name + QStringLiteral(" (") + time + QStringLiteral(")"));
    lastBlocked_->setAccessibleName(QStringLiteral("Last blocked ") + name + QStringLiteral(" ") + time);
  }

  const QString count = QString::number(state_->blockedToday());
  blockedToday_->setText(QStringLiteral("Blocked today: ") + count);
  blockedToday_->setAccessibleName(count + QStringLiteral(" focus thefts blocked today"));
}

}  // namespace varnolet
