#include "Varnolet/VarnoletApp.h"

#include <QApplication>
#include <QKeyEvent>

#include "Varnolet/SettingsView.h"

namespace varnolet {
namespace {

using platform::ui::NSApplication;
using platform::ui::NSWindow;

bool asksForSettings(const QKeyEvent& key) {
  return key.matches(QKeySequence::Preferences) ||
         (key.key() == Qt::Key_Comma && key.modifiers() == Qt::ControlModifier);
}

}  // namespace

std::unique_ptr<QWidget> SettingsSceneView::content() const {
  const auto* application = NSApplication::sharedApplication();
  const auto delegate = application ? std::dynamic_pointer_cast<AppDelegate>(application->delegate()) : nullptr;
  if (!delegate || !delegate->settingsManager()) return nullptr;
  return std::make_unique<SettingsView>(delegate->settingsManager(), delegate->focusGuardState(),
                                        delegate->eventLogManager());
}

VarnoletApp::VarnoletApp(NSApplication& application) : appDelegate_(AppDelegate::create()) {
  application.setDelegate(appDelegate_);
  qApp->installEventFilter(this);
}

bool VarnoletApp::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && asksForSettings(*static_cast<QKeyEvent*>(event)) &&
      QApplication::activeModalWidget() == nullptr && watched->isWidgetType()) {
    showSettingsScene();
    event->accept();
    return true;
  }
  return QObject::eventFilter(watched, event);
}

void VarnoletApp::showSettingsScene() {
  if (auto* popup = QApplication::activePopupWidget()) popup->close();
  if (!settingsScene_ || !settingsScene_->isVisible()) {
    auto content = SettingsSceneView().content();
    if (!content) return;
    settingsScene_ = std::make_unique<NSWindow>(SettingsView::title, platform::ui::titled | platform::ui::closable,
                                                SettingsView::contentSize, content.release());
    settingsScene_->center();
  }
  settingsScene_->makeKeyAndOrderFront();
}

}  // namespace varnolet
