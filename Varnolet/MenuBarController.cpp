#include "Varnolet/MenuBarController.h"

#include <cassert>
#include <chrono>
#include <utility>

#include "platform/ui/NSColor.h"
#include "platform/ui/NSImage.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr std::chrono::milliseconds flashLength(500);
constexpr NSImageSymbolConfiguration symbolConfiguration{.pointSize = 18, .weight = NSFontWeight::medium};

}  // namespace

MenuBarController::MenuBarController(std::shared_ptr<NSStatusItem> statusItem,
                                     std::shared_ptr<varnoletKit::FocusGuardState> state,
                                     std::shared_ptr<PauseManager> pauseManager)
    : statusItem_(std::move(statusItem)), state_(std::move(state)), pauseManager_(std::move(pauseManager)) {
  startObserving();
}

void MenuBarController::flash() {
  assert(platform::isMainThread());
  flashTimer_.cancel();
  isFlashing_ = true;
  drawIcon(NSColor::systemOrange());
  flashTimer_ = platform::runOnMainThreadAfter(flashLength, [this] { endFlash(); });
}

void MenuBarController::startObserving() {
  observationTask_ = varnoletKit::observe([this] {
    static_cast<void>(state_->isIntercepting());
    updateIcon(isProtecting());
  });
}

void MenuBarController::updateIcon(bool isProtecting) {
  if (isFlashing_) return;  // the flash's end shows what has changed meanwhile
  drawIcon(isProtecting ? NSColor::systemGreen() : NSColor::systemGray());
}

void MenuBarController::endFlash() {
  isFlashing_ = false;
  updateIcon(isProtecting());
}

void MenuBarController::drawIcon(const QColor& color) {
  auto* button = statusItem_->button();
  if (!button) return;
  const auto symbol =
      NSImage::imageWithSystemSymbolName(QStringLiteral("shield.checkered"), QStringLiteral("Varnolet status"));
  if (!symbol) return;
  NSImage image = symbol->imageWithSymbolConfiguration(symbolConfiguration).filledWith(color);
  image.setTemplate(false);
  button->setImage(image);
}

}  // namespace varnolet
