// The program: its delegate, and the settings that every window can call up.
#pragma once

#include <QObject>
#include <QWidget>
#include <memory>

#include "Varnolet/AppDelegate.h"
#include "platform/ui/NSWindow.h"

namespace varnolet {

// What the settings scene shows: asks the running application for its delegate each time.
struct SettingsSceneView {
  // Null if the application's delegate is not ours, or has not launched.
  std::unique_ptr<QWidget> content() const;
};

// One in the process, beside NSApplication, whose delegate it makes and keeps. The one scene is the settings; the
// desktop's shortcut for preferences, or Ctrl and the comma, shows it from every window of the program. Main thread
// only.
class VarnoletApp : public QObject {
 public:
  explicit VarnoletApp(platform::ui::NSApplication& application);

  AppDelegate& appDelegate() { return *appDelegate_; }
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void showSettingsScene();

  const std::shared_ptr<AppDelegate> appDelegate_;
  std::unique_ptr<platform::ui::NSWindow> settingsScene_;
};

}  // namespace varnolet
