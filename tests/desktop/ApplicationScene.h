// The scene of the tests of the whole application: besides the editor and the thief, what else a desktop has.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Scene.h"
#include "tools/stage/NotificationService.h"
#include "tools/stage/Panel.h"
#include "tools/stage/ScreenReader.h"

namespace stage {

inline constexpr Ending orderly{0, std::nullopt};

struct ApplicationScene : Scene {
  // A panel with a tray, a notification service and a screen reader; without the program as yet.
  ApplicationScene();

  // Starts the program, with these besides the variables of the desktop, and waits until it guards.
  void begin(Environment besides = {});
  void beginNotifications();

  // Starts the program once more, as a user does with a launcher or as any program may, and tells how that one ended.
  std::optional<Ending> startAgain() const { return startAgainIn(desktop.environmentByLauncher()); }
  std::optional<Ending> startAgainUnasked() const { return startAgainIn(desktop.environment()); }
  bool isPopoverOpen() const { return reader.find(program, "Quit Varnolet").has_value(); }
  // As a user without a mouse does. Returns when it is open and has the keyboard.
  void openPopover();
  void closePopover();
  // The same, and then presses the button of that accessible name. Nothing but keys from there.
  void choose(const std::string& name);

  Accessible await(const std::string& name) const { return reader.await(program, name); }
  bool shows(const std::string& name) const { return reader.find(program, name).has_value(); }
  // The control that has the keyboard, if one has.
  std::optional<Accessible> focused() const;
  // Presses Tab until the control of that name has the keyboard. Throws std::runtime_error if none ever has.
  void tabTo(const std::string& name);
  // The names of all controls that Tab comes to, from the present one round to it again.
  std::vector<std::string> tabStops();

  void expectIcon(Panel::Icon icon, const std::string& when) const;
  // The thief takes the focus, keeps it, and is given what is typed.
  void expectTheftPasses(const std::string& when);
  void returnToEditor();
  // The thief comes to the front because the user pressed a key for it, as a desktop's shortcuts do.
  void activateThiefByKey();
  // False while a popover or a menu, for example, has the keyboard.
  bool canGrabKeyboard() const;
  // No grab is left, and no key is kept from the editor.
  void expectKeyboardIsFree(const std::string& when);

  static constexpr char program[] = "Varnolet";
  static constexpr char notifications[] = "notification-daemon";

  ScreenReader reader{desktop};
  std::unique_ptr<ChildProcess> notificationService;
  std::optional<Panel> panel;

 private:
  static std::optional<Ending> startAgainIn(const Environment& environment);
  std::optional<Accessible> tab();
};

}  // namespace stage
