// Whose doing it was, told as short stories.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <functional>
#include <map>
#include <ostream>
#include <sstream>

#include "platform/linux/intent/ProcessStarts.h"
#include "platform/linux/intent/StartupId.h"
#include "platform/linux/intent/UserIntent.h"

namespace platform::linux_desktop {

void PrintTo(Command command, std::ostream* stream) {
  *stream << describe(command);
}

namespace {

using Kind = UserIntent::KeyKind;
using Expected = std::optional<Command>;

// Server time runs along, from close before its count starts anew.
constexpr std::uint32_t serverBegin = 0xFFFFFF00;

// Plays a story: words in the order in which things happen. A number is the time from there on, in milliseconds since
// the story began. "+alt" and "-alt" press and release a key, "alt" does both.
class Story {
 public:
  explicit Story(const std::string& text) {
    std::istringstream words(text);
    for (std::string word; words >> word;) play(word);
  }

  // Of the last thing that the user did, or of the activation.
  Expected result;

 private:
  enum Window : WindowId { editor = 1, terminal, other, frame };

  void play(const std::string& word) {
    if (std::isdigit(static_cast<unsigned char>(word.front())) != 0) {
      now_ = std::stoi(word);
    } else if (const auto colon = word.find(':'); colon != std::string::npos) {
      playWith(word.substr(0, colon), word.substr(colon + 1));
    } else if (word == "grab") {
      result = intent_.grabBegan(time());
      isGrabbed_ = true;
    } else if (word == "in-launcher") {
      isForLauncher_ = true;
    } else if (word == "+button" || word == "-button") {
      result = intent_.buttonMoved(word.front() == '+', time());
    } else if (word == "workspace") {
      intent_.workspaceChanged(moment());
    } else if (word == "focus") {
      intent_.focusMoved(moment());
    } else if (word == "ask") {
      intent_.activationRequested(other, 0, moment());
    } else if (word == "returning") {
      activation_.isReturnUnderWay = true;
    } else if (word == "elsewhere") {
      activation_.isElsewhere = true;
    } else if (word == "brought-back") {
      activation_.isBroughtBack = true;
    } else if (word.front() == '+' || word.front() == '-') {
      move(word.substr(1), word.front() == '+');
    } else {
      move(word, true);
      move(word, false);
    }
  }

  void playWith(const std::string& verb, const std::string& argument) {
    static const std::map<std::string, Window> windows{
        {"editor", editor}, {"terminal", terminal}, {"other", other}, {"frame", frame}};
    const auto window = [&] { return windows.at(argument); };
    const auto ms = [&] { return std::stoi(argument); };
    const std::map<std::string, std::function<void()>> verbs{
        {"started", [&] { activation_.starts.push_back(begin_ + std::chrono::milliseconds(ms())); }},
        {"stamped", [&] { activation_.stamps.push_back(server(ms())); }},
        {"ask-for", [&] { intent_.activationRequested(other, server(ms()), moment()); }},
        {"create",
         [&] {
           intent_.windowCreated(window(), moment());
           intent_.windowAppeared(window(), moment());
         }},
        {"map", [&] { intent_.windowAppeared(window(), moment()); }},
        {"leave", [&] { intent_.windowLeft(window(), moment()); }},
        {"pointer", [&] { intent_.pointerEntered(window(), moment()); }},
        {"before-in", [&] { activation_.previousTopLevel = window(); }},
        {"now-in", [&] { activation_.topLevel = window(); }},
        {"activate",
         [&] {
           activation_.window = window();
           activation_.previousWindow = editor;
           result = intent_.commandBehind(activation_, moment());
         }},
    };
    verbs.at(verb)();
  }

  void move(const std::string& name, bool isPress) {
    static const std::map<std::string, Kind> kinds{
        {"letter", Kind::plain},   {"command", Kind::plain},      {"enter", Kind::enter}, {"space", Kind::space},
        {"shift", Kind::modifier}, {"alt", Kind::switchModifier}, {"super", Kind::super}};
    const Kind kind = kinds.at(name);
    if (UserIntent::isModifier(kind)) modifiersDown_ += isPress ? 1 : -1;
    const bool isUnderModifier = modifiersDown_ > (isPress && UserIntent::isModifier(kind) ? 1 : 0);
    if (isPress) intent_.pressArrived(server(now_));
    result = intent_.keyMoved({kind, isPress, name == "command", isUnderModifier, isGrabbed_, isForLauncher_}, time());
  }

  UserIntent::Time time() const { return {moment(), server(now_)}; }
  Moment moment() const { return begin_ + std::chrono::milliseconds(now_); }
  static std::uint32_t server(int ms) { return serverBegin + static_cast<std::uint32_t>(ms); }

  const Moment begin_ = std::chrono::steady_clock::now();
  int now_ = 0;
  int modifiersDown_ = 0;
  bool isGrabbed_ = false;
  bool isForLauncher_ = false;
  Activation activation_;
  UserIntent intent_;
};

struct Case {
  const char* name;
  const char* story;
  Expected expected;
};

void expectAll(const std::vector<Case>& cases) {
  for (const auto& [name, story, expected] : cases) EXPECT_EQ(Story(story).result, expected) << name;
}

TEST(UserIntent, KnowsWhatIsACommandAtOnce) {
  expectAll({
      {"the press that begins another program's grab", "5 +letter grab", Command::shortcut},
      {"a grab a moment after a key", "5 +letter 8 grab", {}},
      {"Enter in a menu", "grab 9 +enter", Command::confirmedInGrab},
      {"Space in a menu", "grab 9 +space", Command::confirmedInGrab},
      {"a letter of a locker's password", "grab 9 +letter", {}},
      {"Enter in a launcher", "in-launcher +enter", Command::confirmedInLauncher},
      {"Space in a launcher's line", "in-launcher +space", {}},
      {"Enter anywhere else", "+enter", {}},
      {"Alt is let go after Alt-Tab", "+alt 50 +command grab -command 2000 -alt", Command::leftSwitcher},
      {"Alt is let go after Alt-Shift-Tab, Shift before", "+alt +command grab -command +shift -shift 900 -alt",
       Command::leftSwitcher},
      {"Shift is let go after a capital letter in a menu", "grab +shift letter -shift", {}},
      {"Alt is let go after a mnemonic", "+alt command -alt", {}},
      {"Super by itself", "super", Command::superAlone},
      {"Super with a key", "+super command -super", {}},
      {"a button is let go", "+button 700 -button", Command::buttonReleased},
  });
}

TEST(UserIntent, KnowsWhatTheUserStarted) {
  expectAll({
      {"Enter in a terminal, the editor comes up 1 s later, nothing typed meanwhile",
       "enter started:3 1000 activate:other", Command::startedByUser},
      {"the same, and the user types on", "enter started:3 900 letter 1000 activate:other", {}},
      {"the same, and the user types into it before anybody has judged",
       "enter started:3 1000 focus 1005 letter 1010 activate:other", Command::startedByUser},
      {"the same, and the user clicks", "enter started:3 900 +button 1000 activate:other", {}},
      {"the same, and the user switches the workspace meanwhile", "enter started:3 900 command 3000 activate:other",
       Command::startedByUser},
      {"Enter, git starts, and 2 s later git starts the editor", "enter started:2000 started:4 2100 activate:other",
       Command::startedByUser},
      {"a program that started by itself 1 s after Enter", "enter started:1000 1100 activate:other", {}},
      {"a program that ran before Enter", "100 enter started:60 200 activate:other", {}},
      {"a kernel that tells the start 10 ms too early", "100 enter started:91 200 activate:other",
       Command::startedByUser},
      {"a program as slow as programs are", "enter started:3 14900 activate:other", Command::startedByUser},
      {"one that is slower", "enter started:3 15100 activate:other", {}},
      {"a click in a panel, and the window takes 3 s", "+button 80 -button started:90 3000 activate:other",
       Command::startedByUser},
      {"a window of a running program whose startup identifier names the click",
       "shift 20 +button 140 -button stamped:20 2000 activate:other", Command::startedByUser},
      {"one that names its release", "20 +button 140 -button stamped:140 2000 activate:other", Command::startedByUser},
      {"one that names another time soon after", "20 +button 60 -button stamped:80 2000 activate:other", {}},
      {"a request that names the Enter", "enter 1990 ask-for:0 2000 activate:other", Command::startedByUser},
      {"a request that names what was done before the last command",
       "enter 1000 command 1990 ask-for:0 2000 activate:other",
       {}},
      {"the request that brings it back", "enter 50 brought-back ask-for:50 60 activate:other", {}},
      {"a request that names its own time", "enter 300 ask-for:300 310 activate:other", {}},
      {"a request that names none", "enter 1990 ask 2000 activate:other", {}},
  });
}

TEST(UserIntent, KnowsWhatNobodyTook) {
  expectAll({
      {"the window in front is closed, and another gets the focus", "leave:editor 20 activate:terminal",
       Command::givenOn},
      {"its frame is unmapped", "before-in:frame leave:frame 20 activate:terminal", Command::givenOn},
      {"another window is closed", "leave:terminal 20 activate:other", {}},
      {"the window in front is closed, and something comes up later", "leave:editor 2000 activate:other", {}},
      {"a window appears as the one in front is closed", "map:other 10 leave:editor 20 activate:other", {}},
      {"its frame does", "now-in:frame map:frame 10 leave:editor 20 activate:other", {}},
      {"a window of a workspace that is hidden before the other is shown",
       "leave:editor 5 map:other 10 workspace activate:other", Command::givenOn},
      {"a window asks as the one in front is closed", "leave:editor 10 ask 20 activate:other", {}},
      {"a thief goes while the protected application is fetched", "returning leave:editor 20 activate:terminal", {}},
      {"another workspace, whose windows are mapped anew", "workspace map:terminal 20 activate:terminal",
       Command::givenOn},
      {"another workspace, of which the window manager speaks later",
       "elsewhere leave:editor 5 map:other 10 activate:other", Command::givenOn},
      {"a window that says that it is on another one", "elsewhere map:other 10 activate:other", {}},
      {"another workspace, because a window there asked", "ask 10 workspace 20 activate:other", {}},
      {"another workspace, because a window was made there", "create:other 10 workspace 20 activate:other", {}},
      {"another workspace, long ago", "workspace 2000 activate:terminal", {}},
      {"another workspace, and another window after that", "workspace 20 activate:terminal 400 activate:other", {}},
      {"another workspace, where the focus finds its place in two steps",
       "workspace 20 activate:terminal 40 activate:other", Command::givenOn},
      {"nothing happened", "20 activate:terminal", {}},
  });
}

TEST(UserIntent, KnowsWhatTheUserChose) {
  expectAll({
      {"a slow window manager, after Alt-Tab", "+alt +command grab -command 900 -alt 1700 activate:other",
       Command::chosen},
      {"after Enter in a menu", "grab +enter 800 activate:other", Command::chosen},
      {"a window manager that never did it", "+alt +command grab -command 900 -alt 2000 activate:other", {}},
      {"the user types on", "+alt +command grab -command 900 -alt 1000 letter 1100 activate:other", {}},
      {"and types where the focus is by now",
       "+alt +command grab -command 900 -alt 1000 focus letter 1100 activate:other", Command::chosen},
      {"a window that appears meanwhile", "+alt +command grab -command 900 -alt map:other 1000 activate:other", {}},
      {"one that asks meanwhile", "+alt +command grab -command 900 -alt ask 1000 activate:other", {}},
      {"and another window comes after the chosen one",
       "+alt +command grab -command 900 -alt 1000 activate:terminal 1300 activate:other",
       {}},
      {"a thief, sent back just now", "+alt +command grab -command 900 -alt returning 1000 activate:other", {}},
      {"Alt is let go after a mnemonic", "+alt command -alt 300 activate:other", {}},
  });
}

TEST(UserIntent, KnowsWhereThePointerWent) {
  expectAll({
      {"into a window that was there", "create:other 1000 pointer:frame now-in:frame 1300 activate:other",
       Command::pointerEntered},
      {"into another one", "create:other 1000 pointer:frame now-in:other 1300 activate:other", {}},
      {"into one that had just come up", "900 create:other 1000 pointer:frame now-in:frame 1010 activate:other", {}},
      {"into one that then asks", "create:other 1000 pointer:frame ask now-in:frame 1010 activate:other", {}},
      {"into one that has had the focus since, and was left by a key",
       "create:other 1000 pointer:frame now-in:frame 1010 activate:other 1500 activate:other",
       {}},
      {"into it long ago", "create:other 1000 pointer:frame now-in:frame 2100 activate:other", {}},
  });
}

TEST(StartupId, NamesATimeOrNone) {
  const std::vector<std::pair<std::string_view, std::optional<std::uint32_t>>> cases{
      {"panel-host-12_TIME4711", 4711},
      {"a_TIME1_TIME2", 2},
      {"a_TIME4294967295", 4294967295},
      {"", {}},
      {"panel-host-12", {}},
      {"a_TIME", {}},
      {"a_TIME0", {}},
      {"a_TIMEx", {}},
      {"a_TIME4294967296", {}},
      {"a_TIME-1", {}},
  };
  for (const auto& [id, time] : cases) EXPECT_EQ(timeInStartupId(id), time) << id;
}

TEST(ProcessStarts, AreThoseOfTheProcessAndItsAncestorsBackToATime) {
  const auto before = std::chrono::steady_clock::now() - std::chrono::milliseconds(15);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    char byte = 0;
    _exit(static_cast<int>(read(ends[0], &byte, 1)));
  }
  const auto young = startsOf(child, before);
  ASSERT_EQ(young.size(), 1u);
  EXPECT_LE(young.front(), std::chrono::steady_clock::now());
  EXPECT_GT(startsOf(child, before - std::chrono::hours(24 * 365)).size(), 1u);
  close(ends[1]);
  close(ends[0]);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(startsOf(child, before).empty()) << "it is gone";
}

}  // namespace
}  // namespace platform::linux_desktop
