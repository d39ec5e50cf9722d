// One story of somebody's day at a desktop with the guard: who is on stage, what the user does, and what is to come of
// it.
#pragma once

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/stage/Actors.h"
#include "tools/stage/Guard.h"
#include "tools/stage/Mouse.h"
#include "tools/stage/Transcript.h"
#include "tools/stage/Typist.h"
#include "tools/stage/VirtualDesktop.h"

namespace stage::day {

using Options = std::vector<std::string>;
using std::chrono::milliseconds;

// How a story ended. What the window manager refuses by itself is no theft to undo: that is well too.
enum class Ending { well, refused, undone, stolen, astray, otherwise };
struct Verdict {
  Ending ending = Ending::well;
  // What went wrong, with the guard's last words.
  std::string account{};
  bool isWell() const { return ending == Ending::well || ending == Ending::refused; }
};
std::string nameOf(Ending ending);

// Thrown where a story takes another course.
class Deviation : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Story {
 public:
  // Without a guard it is told as nobody would disturb it.
  explicit Story(WindowManager manager, FocusModel model = FocusModel::click, bool isGuarded = true);
  ~Story();
  WindowManager manager() const { return manager_; }

  // The cast, before the guard starts. Each that has a window gets a place of its own on the screen and comes to the
  // front.
  void enter(const std::string& name, Options options = {}, const std::string& executable = "");
  // One that `starter`, or one started by it, will start in the story.
  void announce(const std::string& starter, const std::string& name);
  // One that nobody asked for, once the guard has started.
  void appear(const std::string& name) { cast_.emplace_back(desktop_, name); }
  // A path under which to start one as another program; the last part of it is its name.
  std::string programNamed(const std::string& executable) const;
  // A script in the user's folder of programs; its path.
  std::string writeProgram(const std::string& name, const std::string& command) const;
  void writeFile(const std::string& file, const std::string& text) const;
  // Any program, with the user's shell.
  void run(const std::string& command);
  // Returns with the gate open, and a word typed into the program in front, or just this key into whatever is.
  void beginGuarding(std::optional<KeyCode> key = std::nullopt);

  // What the user does. Keys are said to be for a program, or for none, and are compared in the end.
  void type(const std::string& name) {
    typeWhile(name, [] {});
  }
  // A longer word, with something that happens in its midst.
  template <class Event>
  void typeWhile(const std::string& name, const Event& event) {
    for (int i = 0; i < wordLength; ++i) {
      if (i == wordLength / 4) event();
      tap(nextCharacter(), name);
      pause(pace);
    }
  }
  void tap(KeyCode key, const std::string& name = "");
  // For programs that are no actors.
  void write(const std::string& text);
  void tapWith(const std::vector<KeyCode>& modifiers, KeyCode key, const std::string& name = "",
               milliseconds held = milliseconds(0));
  // Alt held from the first Tab to the last, and for a time after each. The name of the program that this leads to
  // where nothing else has moved the focus.
  std::string altTab(int steps, milliseconds held);
  void click(const std::string& name);
  void pressOn(const std::string& name);
  void releaseButton() { mouse_.release(); }
  void glideTo(const std::string& name, milliseconds time = milliseconds(60)) { mouse_.glideTo(centreOf(name), time); }
  // Somebody's time.
  static void pause(milliseconds time);

  // What happens besides.
  Actor& operator[](const std::string& name);
  void tell(const std::string& name, const std::string& command) { (*this)[name].tell(command); }
  // After a glance at it.
  void awaitInFront(const std::string& name);
  // The same of programs that are no actors, by their windows' class; shown, be it in front or not.
  void awaitClassInFront(const std::string& windowClass) const;
  void awaitClassShown(const std::string& windowClass) const;
  // Until a file in the user's folder says so.
  void awaitFile(const std::string& file, const std::string& text) const;
  bool isSoonInFront(const std::string& name);
  // For altTab(), after one that led elsewhere.
  void lookWhoIsInFront();
  void typeInFront() { type(order_.front()); }
  // Until one of its windows has got the focus so often.
  void awaitTimesFocused(const std::string& name, unsigned times);
  xcb_window_t activeWindow() const { return desktop_.activeWindow(); }
  void awaitActive(xcb_window_t window) const;
  void awaitReport(const std::string& name, const std::string& part);
  void awaitGate(bool isOpen) const;
  void switchWorkspace(std::uint32_t number) const;
  void moveToWorkspace(const std::string& name, std::uint32_t number);
  void minimise(const std::string& name);
  void expectMinimised(const std::string& name);
  void expectWorkspace(std::uint32_t number) const;
  // Until the guard has judged all there was: shows it an activation of which it says something in any case.
  void awaitJudgements();
  // What arrived elsewhere, or not, than it was meant to; empty if nothing.
  std::string keysAstray() const;
  std::size_t blocked() const { return guard_ ? guard_->log().countOf("THEFT DETECTED") : 0; }

  // With `inFront` in front, if anybody has to be, waits until the guard has judged all there was. A story without a
  // theft must have blocked nothing.
  Verdict end(const std::string& inFront, bool isTheft);
  // For a story that took another course.
  Verdict endWith(const std::string& deviation, bool isTheft) const;

 private:
  static constexpr int wordLength = 8;
  static constexpr milliseconds pace{15};

  KeyCode nextCharacter();
  void moveOn(std::vector<std::string>::iterator to);
  Point centreOf(const std::string& name);
  std::string classOf(xcb_window_t window) const;
  std::string guardsWords() const;

  VirtualDesktop desktop_;
  WindowManager manager_;
  bool isGuarded_;
  Typist typist_{desktop_.display()};
  Mouse mouse_{desktop_.display()};
  Keyboard keyboard_{desktop_.connection()};
  // Those that start others come before them, and go before them.
  std::list<Actor> cast_;
  std::list<ChildProcess> others_;
  std::map<std::string, std::vector<KeyCode>> meant_;
  std::size_t typed_ = 0;
  int placed_ = 0;
  // Those that can have the focus, in the order of Alt-Tab.
  std::vector<std::string> order_;
  std::vector<std::string> orderBefore_;  // before the last Alt-Tab
  std::optional<Guard> guard_;
};

}  // namespace stage::day
