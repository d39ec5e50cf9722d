#include "tests/desktop/day/Cases.h"

namespace stage::day {
namespace {

using std::string;
using namespace std::chrono_literals;
using Tale = std::function<string(Story&)>;

const string onReturn = "--on=key" + std::to_string(keyReturn) + "/0/";

// Until it is in the thief's way.
constexpr milliseconds isUnderWay = 80ms;

// While a word is typed. Where the machine is busy, the guard may come to know of it a key too late.
Tale steal(const string& command, const Options& thief = {}) {
  return [=](Story& s) -> string {
    s.enter("thief", thief);
    s.enter("editor");
    s.beginGuarding();
    s.typeWhile("editor", [&] {
      s["thief"].tellAndGoOn(command);
      s.awaitGate(false);
    });
    s.type("editor");
    return "editor";
  };
}

// So often, and by asking, by taking, or both.
Tale insist(const string& how) {
  return [=](Story& s) -> string {
    s.enter("thief");
    s.enter("editor");
    s.beginGuarding();
    s.tell("thief", "insist " + how);
    Story::pause(isUnderWay);
    for (int i = 0; i < 6; ++i) s.type("editor");
    s.tell("thief", "insist 0");
    return "editor";
  };
}

// Programs that something else starts.
string appear(Story& s) {
  s.enter("editor");
  s.beginGuarding();
  s.typeWhile("editor", [&] { s.appear("updater"); });
  s.type("editor");
  return "editor";
}

// A modifier that goes up after a letter is no shortcut.
string betweenCapitals(Story& s) {
  s.enter("thief");
  s.enter("editor");
  s.beginGuarding();
  for (int i = 0; i < 6; ++i) {
    s.tapWith({keyLeftShift}, characterKeys()[20], "editor");
    if (i == 2) s["thief"].tellAndGoOn("request 2");
    Story::pause(20ms);
  }
  return "editor";
}

// The user started it, but has not waited for it.
string typedOn(Story& s) {
  s.enter("terminal", {onReturn + "start/browser --late=1200"});
  s.announce("terminal", "browser");
  s.beginGuarding();
  s.tap(keyReturn, "terminal");
  for (int i = 0; i < 20 || s["browser"].window() == 0; ++i) s.type("terminal");
  s.type("terminal");
  return "terminal";
}

// The user started it, and is back at the terminal when another window of it comes.
string secondWindow(Story& s) {
  s.enter("terminal", {onReturn + "start/browser --on=begin/2500/map"});
  s.announce("terminal", "browser");
  s.beginGuarding();
  s.tap(keyReturn, "terminal");
  s.awaitInFront("browser");
  s.type("browser");
  s.click("terminal");
  s.awaitInFront("terminal");
  Story::pause(700ms);
  const auto before = s["browser"].timesFocused();
  for (int i = 0; i < 30 && s["browser"].timesFocused() == before; ++i) s.type("terminal");
  s.type("terminal");
  return "terminal";
}

// It lies under a pointer that does not move.
string underPointer(Story& s) {
  s.enter("editor");
  s.enter("thief", {"--hidden", "--at=60,80"});
  s.beginGuarding();
  s.typeWhile("editor", [&] { s["thief"].tellAndGoOn("map"); });
  s.type("editor");
  return "editor";
}

// It comes back to the window in which the user types, not to another of that program.
string fromSecondWindow(Story& s) {
  s.enter("thief");
  s.enter("editor");
  s.tell("editor", "map");
  s.awaitTimesFocused("editor", 2);
  s.beginGuarding();
  const auto window = s.activeWindow();
  s.typeWhile("editor", [&] { s["thief"].tellAndGoOn("request 2"); });
  s.type("editor");
  s.awaitActive(window);
  return "editor";
}

}  // namespace

std::vector<Case> thefts() {
  std::vector<Case> cases{
      {"ByNewWindow", steal("map")},
      {"ByRequest", steal("request 2")},
      {"ByRequestOfItsOwn", steal("request 1")},
      {"ByBareFocus", steal("focus")},
      {"ByAFakedClick", steal("click")},
      {"ByProgramOfNobody", appear},
      {"ByProgramNotWaitedFor", typedOn},
      {"BySecondWindowOfAStart", secondWindow},
      {"NamedLikeLoginWindow", steal("request 2", {"--class=com.apple.loginwindow"})},
      {"NamedLikePrompt", steal("map", {"--app-id=com.apple.SecurityAgent"})},
      {"NamedLikeTheGuard", steal("request 2", {"--class=app.varnolet.Varnolet", "--app-id=app.varnolet.Varnolet"})},
      {"WithoutProcessId", steal("request 2", {"--no-pid"})},
      {"WithoutAnyName", steal("map", {"--no-pid", "--class=", "--title="})},
      {"WithInvalidText", steal("map", {"--title=\xff\xfe\xc3(", "--class=\xc0\xaf\xf5"})},
      {"Every2Ms", insist("2 request")},
      {"Every5Ms", insist("5 focus")},
      {"Every10Ms", insist("10")},
      {"BetweenCapitals", betweenCapitals},
      {"UnderThePointer", underPointer, FocusModel::pointer},
      {"FromSecondWindow", fromSecondWindow},
  };
  for (auto& one : cases) {
    one.name = "Theft" + one.name;
    one.isTheft = true;
  }
  return cases;
}

}  // namespace stage::day
