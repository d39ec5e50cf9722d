#include "Varnolet/OnboardingView.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>
#include <initializer_list>
#include <utility>

#include "Varnolet/PermissionCard.h"
#include "platform/ui/Label.h"
#include "platform/ui/NSApplication.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/NSWindow.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/SymbolView.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr QSize frame(500, 400);
constexpr int padding = 32;
constexpr int spacing = 24;
constexpr int cardSpacing = 16;
constexpr int explanationWidth = 420;

}  // namespace

OnboardingView::OnboardingView(std::shared_ptr<varnoletKit::PermissionsManager> permissionsManager,
                               std::function<void()> onDismiss)
    : permissionsManager_(std::move(permissionsManager)),
      didBecomeActive_(platform::NSNotificationCenter::defaultCenter().addObserverForName(
          NSApplicationDidBecomeActiveNotification, platform::NSOperationQueue::mainQueue,
          [this](const platform::NSNotification&) { permissionsManager_->refreshPermissions(); })) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(padding, padding, padding, padding);
  column->setSpacing(spacing);
  column->addStretch();
  column->addWidget(makeHeader());
  column->addWidget(makeCards());
  column->addWidget(makeGetStarted(std::move(onDismiss)), 0, Qt::AlignHCenter);
  column->addStretch();
  setFrame(*this, frame);
}

OnboardingView::~OnboardingView() {
  platform::NSNotificationCenter::defaultCenter().removeObserver(didBecomeActive_);
}

QWidget* OnboardingView::makeHeader() {
  auto* header = new QWidget(this);
  auto* title = new Label(QStringLiteral("Welcome to Varnolet"), TextStyle::title, &NSColor::label, header);
  auto* explanation = new Label(
      QStringLiteral("Varnolet keeps you in control by preventing other apps from stealing your focus. Grant the "
                     "permissions below to get started."),
      TextStyle::subheadline, &NSColor::secondaryLabel, header);
  explanation->setWordWrap(true);
  explanation->setAlignment(Qt::AlignHCenter);
  explanation->setFixedWidth(explanationWidth);
  explanation->setMinimumHeight(explanation->heightForWidth(explanationWidth));

  auto* column = new QVBoxLayout(header);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(8);
  column->addWidget(new SymbolView(QStringLiteral("shield.checkered"), 40, &NSColor::tint, header), 0,
                    Qt::AlignHCenter);
  column->addWidget(title, 0, Qt::AlignHCenter);
  column->addWidget(explanation, 0, Qt::AlignHCenter);
  return header;
}

QWidget* OnboardingView::makeCards() {
  auto* cards = new QWidget(this);
  auto* row = new QHBoxLayout(cards);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(cardSpacing);
  const auto permissions = permissionsManager_;
  auto* accessibility = new PermissionCard(
      {QStringLiteral("Accessibility"), QStringLiteral("lock.shield"),
       QStringLiteral("Lets Varnolet restore your focus when another app steals it"),
       QStringLiteral("Open Accessibility settings"), [permissions] { return permissions->accessibilityGranted(); },
       [permissions] { permissions->openAccessibilitySettings(); }},
      cards);
  auto* inputMonitoring = new PermissionCard(
      {QStringLiteral("Input Monitoring"), QStringLiteral("keyboard"),
       QStringLiteral("Lets Varnolet detect your intentional app switches and buffer keystrokes during theft"),
       QStringLiteral("Open Input Monitoring settings"),
       [permissions] { return permissions->inputMonitoringGranted(); },
       [permissions] { permissions->openInputMonitoringSettings(); }},
      cards);
  const std::initializer_list<PermissionCard*> both{accessibility, inputMonitoring};
  int width = (frame.width() - 2 * padding - cardSpacing) / 2;
  for (const auto* card : both) width = std::max(width, card->minimumSizeHint().width());
  int descriptionHeight = 0;
  for (const auto* card : both) descriptionHeight = std::max(descriptionHeight, card->descriptionHeightFor(width));
  for (auto* card : both) {
    card->setMinimumWidth(width);
    card->setDescriptionHeight(descriptionHeight);
    row->addWidget(card, 1);
  }
  return cards;
}

QWidget* OnboardingView::makeGetStarted(std::function<void()> onDismiss) {
  auto* button = new PushButton(QStringLiteral("Get Started"), ButtonStyle::prominent, ButtonRole::normal, this);
  button->setAccessibleDescription(QStringLiteral("Begin using Varnolet"));
  button->setFixedWidth(200);
  connect(button, &QPushButton::clicked, this, [onDismiss = std::move(onDismiss)] { onDismiss(); });
  redrawing_ =
      varnoletKit::observe([this, button] { button->setEnabled(permissionsManager_->allPermissionsGranted()); });
  return button;
}

}  // namespace varnolet
