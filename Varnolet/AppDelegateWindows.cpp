// The windows that the delegate opens.
#include <algorithm>
#include <utility>

#include "Varnolet/AppDelegate.h"
#include "Varnolet/LogViewerView.h"
#include "Varnolet/OnboardingView.h"
#include "Varnolet/PopoverView.h"
#include "Varnolet/SettingsView.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr QSize logSize(620, 420);
constexpr QSize onboardingSize(520, 440);

}  // namespace

void AppDelegate::togglePopover() {
  if (!statusItem_ || !statusItem_->button()) return;
  if (popover_->isShown()) {
    popover_->performClose();
    return;
  }
  popover_->setContent(buildPopoverView());
  popover_->showRelativeTo(statusItem_->button()->frame());
}

QWidget* AppDelegate::buildPopoverView() {
  const auto whileAlive = [weak = weak_from_this()](void (AppDelegate::*action)()) {
    return [weak, action] {
      if (const auto self = weak.lock()) ((*self).*action)();
    };
  };
  return new PopoverView(focusGuardState_, settingsManager_, pauseManager_,
                         {.onShowLog = whileAlive(&AppDelegate::showLog),
                          .onShowSettings = whileAlive(&AppDelegate::showSettings),
                          .onShowWhitelist = whileAlive(&AppDelegate::showSettings)});
}

void AppDelegate::showSettings() {
  popover_->performClose();
  if (settingsWindow_ && settingsWindow_->isVisible()) {
    settingsWindow_->makeKeyAndOrderFront();
    return;
  }
  settingsWindow_ =
      std::make_unique<NSWindow>(SettingsView::title, titled | closable | resizable, SettingsView::contentSize,
                                 new SettingsView(settingsManager_, focusGuardState_, eventLogManager_));
  settingsWindow_->center();
  settingsWindow_->makeKeyAndOrderFront();
}

void AppDelegate::showLog() {
  popover_->performClose();
  std::erase_if(logWindows_, [](const auto& window) { return !window->isVisible(); });
  logWindows_.push_back(std::make_unique<NSWindow>(QStringLiteral("Blocked Events Log"), titled | closable | resizable,
                                                   logSize, new LogViewerView(eventLogManager_)));
  auto* window = logWindows_.back().get();
  window->center();
  window->makeKeyAndOrderFront();
}

void AppDelegate::showOnboarding() {
  if (onboardingWindow_ && onboardingWindow_->isVisible()) {
    onboardingWindow_->makeKeyAndOrderFront();
    return;
  }
  auto* view = new OnboardingView(permissionsManager_, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->dismissOnboarding();
  });
  onboardingWindow_ =
      std::make_unique<NSWindow>(QStringLiteral("Welcome to Varnolet"), titled | closable, onboardingSize, view);
  onboardingWindow_->center();
  onboardingWindow_->makeKeyAndOrderFront();
}

void AppDelegate::dismissOnboarding() {
  if (onboardingWindow_) onboardingWindow_->close();
  if (permissionsManager_->allPermissionsGranted()) startEngine();
}

}  // namespace varnolet
