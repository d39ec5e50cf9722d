// The same with programs that people have, which tell by files what they were given.
#include "tests/desktop/day/Cases.h"

namespace stage::day {
namespace {

using std::string;
using Tale = std::function<string(Story&)>;

// Reads a line, keeps it and is gone.
constexpr const char* note = "exec xterm -class Note -e sh -c 'read line; echo $line > ~/noted'";
constexpr const char* save =
    "cd && git init -q . && GIT_EDITOR=mousepad git -c user.name=a -c user.email=a@b commit -q --allow-empty && "
    "git log --format=%s > ~/noted";
constexpr const char* words = "whole words";

// A terminal in front, and a launcher that F1 brings up.
void prepare(Story& s, const string& launcher = "true") {
  s.writeProgram("note", note);
  s.writeProgram("save", save);
  s.enter("keys",
          {"--hidden", "--on=shortcut" + std::to_string(keyF1) + "/0/start/" + s.writeProgram("launch", launcher)});
  s.run("xterm");
  s.awaitClassInFront("XTerm");
  s.beginGuarding(keyBackspace);
}

string finish(Story& s) {
  s.write(words);
  s.tap(keyReturn);
  s.awaitFile("noted", words);
  s.awaitClassInFront("XTerm");
  return "";
}

Tale start(const string& line, const string& inFront) {
  return [=](Story& s) {
    prepare(s);
    s.write(line);
    s.tap(keyReturn);
    s.awaitClassInFront(inFront);
    return finish(s);
  };
}

Tale launch(const string& launcher, const string& itsClass) {
  return [=](Story& s) {
    prepare(s, launcher);
    s.tap(keyF1);
    s.awaitClassShown(itsClass);
    // Somebody looks at it, and then at what is offered.
    Story::pause(milliseconds(600));
    s.write("note");
    Story::pause(milliseconds(600));
    s.tap(keyReturn);
    s.awaitClassInFront("Note");
    return finish(s);
  };
}

string commit(Story& s) {
  prepare(s);
  s.write("save");
  s.tap(keyReturn);
  s.awaitClassInFront("Mousepad");
  s.write(words);
  s.tapWith({keyLeftControl}, keyS);
  s.awaitFile(".git/COMMIT_EDITMSG", words);
  s.tapWith({keyLeftControl}, keyQ);
  s.awaitFile("noted", words);
  s.awaitClassInFront("XTerm");
  return "";
}

string dropDown(Story& s) {
  s.writeFile("config/tilda/config_0", "tilda_config_version=\"1.5.4\"\nkey=\"F12\"\nhidden=true\n");
  s.run("stdbuf -oL tilda > said");
  s.awaitFile("said", "Tilda has started. Press F12 to pull down the window.");
  prepare(s);
  s.tap(keyF12);
  s.awaitClassInFront("Tilda");
  s.write("echo whole words > noted");
  s.tap(keyReturn);
  s.awaitFile("noted", words);
  s.tap(keyF12);
  s.awaitClassInFront("XTerm");
  return "";
}

}  // namespace

std::vector<Case> casesOfRealPrograms() {
  return {
      {"xterm", start("note", "Note")},
      {"xterm, in background", start("note &", "Note")},
      {"zenity", start("zenity --entry > noted", "Zenity")},
      {"git with mousepad", commit},
      {"dmenu", launch("exec dmenu_run", "dmenu")},
      {"rofi", launch("exec rofi -show run", "Rofi")},
      {"xfce4-appfinder", launch("exec xfce4-appfinder --collapsed", "Xfce4-appfinder")},
      {"tilda", dropDown},
  };
}

}  // namespace stage::day
