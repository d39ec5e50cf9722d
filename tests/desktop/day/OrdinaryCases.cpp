#include "tests/desktop/day/Cases.h"

namespace stage::day {
namespace {

using std::string;
using namespace std::chrono_literals;
using Tale = std::function<string(Story&)>;

// Longer than a gesture excuses what follows it.
constexpr milliseconds aWhile = 700ms;

// What makes a program act; a command follows.
string on(const char* trigger, int code, milliseconds delay = 0ms) {
  return "--on=" + (trigger + std::to_string(code)) + '/' + std::to_string(delay.count()) + '/';
}
const string onReturn = on("key", keyReturn);
const string onRelease = "--on=release/0/";

string clickAnother(Story& s) {
  s.enter("mail");
  s.enter("editor");
  s.beginGuarding();
  for (const char* name : {"mail", "editor", "mail", "editor"}) {
    Story::pause(aWhile);
    s.click(name);
    s.awaitInFront(name);
    s.type(name);
  }
  return "editor";
}

// Twice, the second time soon after: the gate is open, and closed.
Tale altTab(int steps, milliseconds held) {
  return [=](Story& s) {
    for (const char* name : {"mail", "calendar", "editor"}) s.enter(name);
    s.beginGuarding();
    string reached;
    for (int i = 0; i < 2; ++i) {
      if (i > 0) Story::pause(aWhile);
      reached = s.altTab(steps, held);
      s.awaitInFront(reached);
      s.type(reached);
    }
    return reached;
  };
}

// The user switches at the moment when the guard lets go of the keyboard.
string altTabWhenTheGateOpens(Story& s) {
  s.enter("clock", {"--hidden", "--menu"});
  for (const char* name : {"mail", "editor"}) s.enter(name);
  s.beginGuarding();
  string reached;
  for (int i = 0; i < 2; ++i) {
    s.tell("clock", "map");
    s.awaitGate(false);
    s.awaitGate(true);
    Story::pause(15ms);
    reached = s.altTab(1, 0ms);
    s.awaitInFront(reached);
    s.type(reached);
  }
  return reached;
}

// Enter in a terminal; `how` it starts the program, and what the program does.
Tale startFromTerminal(const string& how, const string& options = "") {
  return [=](Story& s) -> string {
    s.enter("terminal", {onReturn + how + "browser " + options});
    s.announce("terminal", "browser");
    s.beginGuarding();
    s.type("terminal");
    s.tap(keyReturn, "terminal");
    s.awaitInFront("browser");
    s.type("browser");
    return "browser";
  };
}

// A launcher that a key of the whole desktop brings up.
Tale startFromLauncher(KeyCode key, bool isMenu) {
  return [=](Story& s) -> string {
    const string launcher = isMenu ? "menu" : "xfce4-appfinder";
    const string program = isMenu ? "menu --menu --on=begin/0/grab " : s.programNamed(launcher) + ' ';
    const string thenExit = onReturn + "start/browser+--late=700 " + onReturn + "exit";
    s.enter("keys", {"--hidden", on("shortcut", key) + "start/" + program + thenExit});
    s.announce("keys", launcher);
    s.announce("keys", "browser");
    s.enter("editor");
    s.beginGuarding();
    s.tap(key);
    isMenu ? s.awaitReport("keys", "menu: grabbed 0") : s.awaitInFront(launcher);
    s.type(launcher);
    Story::pause(aWhile);
    s.tap(keyReturn, launcher);
    s.awaitInFront("browser");
    s.type("browser");
    return "browser";
  };
}

Tale startFromPanel(milliseconds late) {
  return [=](Story& s) -> string {
    s.enter("panel", {"--dock", onRelease + "start/browser --late=" + std::to_string(late.count())});
    s.announce("panel", "browser");
    s.enter("editor");
    s.beginGuarding();
    s.click("panel");
    s.awaitInFront("browser");
    s.type("browser");
    return "browser";
  };
}

string dropDown(Story& s) {
  s.enter("console", {"--hidden", on("shortcut", keyF12) + "toggle"});
  s.enter("editor");
  s.beginGuarding();
  for (const char* name : {"console", "editor", "console", "editor"}) {
    s.tap(keyF12);
    s.awaitInFront(name);
    s.type(name);
    Story::pause(aWhile);
  }
  return "editor";
}

string taskbarHeld(Story& s) {
  s.enter("mail");
  s.enter("panel", {"--dock", onRelease + "nudge/" + std::to_string(s["mail"].window())});
  s.enter("editor");
  s.beginGuarding();
  s.pressOn("panel");
  Story::pause(aWhile);
  s.releaseButton();
  s.awaitInFront("mail");
  s.type("mail");
  return "mail";
}

string dragAndDrop(Story& s) {
  s.enter("mail", {"--on=message/0/request/1"});
  s.enter("editor", {onRelease + "pass"});
  s.beginGuarding();
  s.pressOn("editor");
  s.glideTo("mail", aWhile);
  s.releaseButton();
  s.awaitInFront("mail");
  s.type("mail");
  return "mail";
}

// A link in one program, which one that runs already opens in a new window.
string openLink(Story& s) {
  s.enter("browser", {"--on=message/1000/open"});
  s.enter("mail", {onRelease + "pass/" + std::to_string(s["browser"].window())});
  s.beginGuarding();
  s.click("mail");
  s.awaitInFront("browser");
  s.type("browser");
  return "browser";
}

string glide(Story& s) {
  s.enter("mail");
  s.enter("editor");
  s.beginGuarding();
  for (const char* name : {"mail", "editor", "mail"}) {
    s.glideTo(name);
    s.awaitInFront(name);
    s.type(name);
  }
  return "mail";
}

Tale quit(milliseconds delay) {
  return [=](Story& s) -> string {
    s.enter("editor");
    s.enter("mail", {on("control", keyQ, delay) + "exit"});
    s.beginGuarding();
    s.tapWith({keyLeftControl}, keyQ, "mail");
    s.awaitInFront("editor");
    s.type("editor");
    return "editor";
  };
}

string exitFromTerminal(Story& s) {
  s.enter("editor");
  s.enter("terminal", {onReturn + "exit"});
  s.beginGuarding();
  s.type("terminal");
  s.tap(keyReturn, "terminal");
  s.awaitInFront("editor");
  s.type("editor");
  return "editor";
}

string askForPassword(Story& s) {
  const string prompt = "pinentry-gtk-2";
  s.enter("terminal", {onReturn + "script/" + "700 " + s.programNamed(prompt) + ' ' + onReturn + "exit"});
  s.announce("terminal", prompt);
  s.beginGuarding();
  s.tap(keyReturn, "terminal");
  s.awaitInFront(prompt);
  s.type(prompt);
  s.tap(keyReturn, prompt);
  s.awaitInFront("terminal");
  s.type("terminal");
  return "terminal";
}

// One of two windows of a program goes, and the other one is to stay where it is.
Tale closeOneOfTwo(bool isOtherMinimised) {
  return [=](Story& s) -> string {
    s.enter("editor");
    s.enter("files", {on("control", keyW, aWhile) + "unmap"});
    s.tell("files", "map");
    s.awaitTimesFocused("files", 2);
    if (isOtherMinimised) {
      s.tell("files", "minimise");
      s.expectMinimised("files");
    } else {
      s.moveToWorkspace("files", 1);
    }
    s.beginGuarding();
    s.tapWith({keyLeftControl}, keyW, "files");
    s.awaitInFront("editor");
    s.type("editor");
    if (isOtherMinimised) s.expectMinimised("files");
    s.expectWorkspace(0);
    return "editor";
  };
}

string minimise(Story& s) {
  s.enter("editor");
  s.enter("mail");
  s.beginGuarding();
  s.tell("mail", "minimise");
  s.awaitInFront("editor");
  s.type("editor");
  return "editor";
}

Tale switchWorkspace(bool byKeys) {
  return [=](Story& s) -> string {
    s.enter("mail");
    s.moveToWorkspace("mail", 1);
    s.enter("editor");
    s.beginGuarding();
    for (const bool isThere : {true, false}) {
      Story::pause(aWhile);
      if (byKeys) {
        s.tapWith({keyLeftControl, keyLeftAlt}, isThere ? keyRight : keyLeft, "", aWhile);
      } else {
        s.switchWorkspace(isThere ? 1 : 0);
      }
      s.awaitInFront(isThere ? "mail" : "editor");
      s.type(isThere ? "mail" : "editor");
    }
    return "editor";
  };
}

}  // namespace

std::vector<Case> ordinaryCases() {
  constexpr auto click = FocusModel::click;
  return {
      {"ClickAnotherWindow", clickAnother},
      {"AltTabQuick", altTab(1, 0ms)},
      {"AltTabHeld", altTab(1, aWhile)},
      {"AltTabHeldLong", altTab(1, 2000ms)},
      {"AltTabStepped", altTab(2, 400ms)},
      {"AltTabWhenTheGateOpens", altTabWhenTheGateOpens},
      {"StartFromTerminal", startFromTerminal("start/")},
      {"StartSlowlyFromTerminal", startFromTerminal("start/", "--late=3000")},
      {"StartInBackground", startFromTerminal("detach/", "--late=1000")},
      {"EditorOfGit", startFromTerminal("script/1000 ")},
      {"StartFromMenu", startFromLauncher(keyF1, true)},
      {"StartFromMenuOfSuper", startFromLauncher(keyLeftSuper, true)},
      {"StartFromLauncher", startFromLauncher(keyF1, false)},
      {"StartFromPanel", startFromPanel(300ms)},
      {"StartSlowlyFromPanel", startFromPanel(3000ms)},
      {"DropDownTerminal", dropDown},
      {"TaskbarHeld", taskbarHeld},
      {"DragAndDrop", dragAndDrop},
      {"OpenLink", openLink},
      {"FocusFollowsMouse", glide, FocusModel::pointer},
      {"Quit", quit(0ms)},
      {"QuitSlowly", quit(aWhile)},
      {"ExitFromTerminal", exitFromTerminal},
      {"AskForPassword", askForPassword},
      {"CloseBesideMinimised", closeOneOfTwo(true), click, false, {WindowManager::i3}},
      {"CloseBesideOtherWorkspace", closeOneOfTwo(false)},
      {"Minimise", minimise, click, false, {WindowManager::i3}},
      {"SwitchWorkspaceByKeys", switchWorkspace(true)},
      {"SwitchWorkspaceOtherwise", switchWorkspace(false)},
  };
}

}  // namespace stage::day
