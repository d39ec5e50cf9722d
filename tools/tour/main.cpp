// varnolet_demo: a sentence is typed on a desktop of its own, a window pops up in the middle, and the sentence arrives
// whole. Needs no display. Its exit code is 0 only if all of the sentence reached the editor and none of it the
// updater.
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "Shell.h"
#include "Tour.h"
#include "Windows.h"
#include "tools/stage/Guard.h"
#include "tools/stage/Typist.h"
#include "tools/stage/VirtualDesktop.h"

namespace {

using namespace stage;

constexpr std::string_view sentence = "Dear Ada, we meet on Monday at nine, and I bring the plans for the new bridge.";
constexpr std::string_view typedBeforeTheUpdater = "Dear Ada, we meet on Mo";
constexpr std::chrono::milliseconds pace(40);
constexpr std::string_view usage =
    "usage: varnolet_demo [--program FILE] [--without] [--pictures FOLDER]\n"
    "  --program FILE     the program to show, instead of the one built beside this one\n"
    "  --without          show what happens without it\n"
    "  --pictures FOLDER  leave a picture of each thing that there is to see\n";

struct Wishes {
  std::filesystem::path program = Guard::programUnderTest();
  bool isGuarded = true;
  std::filesystem::path pictures;
};

std::optional<Wishes> wishesFrom(int count, char** arguments) {
  Wishes wishes;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--without") {
      wishes.isGuarded = false;
    } else if (argument == "--program" && i + 1 < count) {
      wishes.program = arguments[++i];
    } else if (argument == "--pictures" && i + 1 < count) {
      wishes.pictures = std::filesystem::absolute(arguments[++i]);
    } else {
      return std::nullopt;
    }
  }
  return wishes;
}

std::unique_ptr<ChildProcess> start(const VirtualDesktop& desktop, const char* part) {
  ChildProcess::Options options;
  options.environment = desktop.environment();
  options.readOutput = true;
  return std::make_unique<ChildProcess>(
      std::vector<std::string>{std::filesystem::read_symlink("/proc/self/exe").string(), part}, options);
}

std::string lastText(const ChildProcess& editor) {
  constexpr std::string_view prefix = "text ";
  std::string text;
  for (const auto& line : editor.output().all()) {
    if (line.starts_with(prefix)) text = line.substr(prefix.size());
  }
  return text;
}

void printBlockedEvents(const VirtualDesktop& desktop) {
  std::ifstream log(blockedEventsFile(desktop));
  if (!log) {
    std::puts("blocked-events.json:  (none)");
    return;
  }
  std::puts("blocked-events.json:");
  std::cout << log.rdbuf() << std::endl;
}

int show(const Wishes& wishes) {
  const VirtualDesktop desktop(WindowManager::openbox, "1000x640x24");
  const demo::Shell shell(desktop);
  const demo::Tour tour(desktop, wishes.program, wishes.pictures);
  const bool takesPictures = wishes.isGuarded && !wishes.pictures.empty();
  if (takesPictures) std::filesystem::create_directories(wishes.pictures);
  const auto editor = start(desktop, "editor");
  const auto window = editor->output().waitFor("window ");
  if (!window) throw std::runtime_error("the editor does not appear");
  desktop.activate(static_cast<xcb_window_t>(std::stoul(window->substr(window->find(' ')))));
  std::optional<Guard> guard;
  if (wishes.isGuarded) guard.emplace(desktop, wishes.program);

  Typist typist(desktop.display());
  std::unique_ptr<ChildProcess> updater;
  bool isFlashTaken = false;
  for (std::size_t i = 0; i < sentence.size(); ++i) {
    if (i == typedBeforeTheUpdater.size()) updater = start(desktop, "updater");
    // The icon is orange for half a second; nobody types while the picture is taken.
    if (takesPictures && !isFlashTaken && guard->log().countOf("Logged blocked event") > 0) {
      isFlashTaken = true;
      tour.take("theft.png");
    }
    typist.write(sentence[i]);
    std::this_thread::sleep_for(pace);
  }
  constexpr std::chrono::seconds untilItSettles(5);
  const bool hasArrived = eventually([&] { return lastText(*editor) == sentence; }, untilItSettles);
  const auto keysAstray = updater->output().countOf("key");
  const bool tookFocus = updater->output().countOf("focus in") > 0;
  if (guard) (void)eventually([&] { return std::filesystem::exists(blockedEventsFile(desktop)); }, untilItSettles);

  std::printf("typed:                %s\n", std::string(sentence).c_str());
  std::printf("the editor got:       %s\n", lastText(*editor).c_str());
  std::printf("the updater got:      the focus %s, %zu keys\n", tookFocus ? "for a moment" : "never", keysAstray);
  printBlockedEvents(desktop);
  if (takesPictures) {
    tour.take("restored.png");
    tour.walkThroughWindows(typist);
    demo::takeOnboarding(wishes.program, wishes.pictures);
    std::printf("Pictures are in %s.\n", wishes.pictures.c_str());
  }
  const bool isWhole = hasArrived && keysAstray == 0 && tookFocus;
  std::puts(isWhole ? "The sentence arrived whole." : "The sentence did not arrive whole.");
  return isWhole ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    const std::string_view part = count > 1 ? arguments[1] : "";
    if (part == "editor") return demo::runEditor(count, arguments);
    if (part == "updater") return demo::runUpdater(count, arguments);
    if (const auto wishes = wishesFrom(count, arguments)) return show(*wishes);
    std::fputs(std::string(usage).c_str(), part == "--help" ? stdout : stderr);
    return part == "--help" ? 0 : 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnolet_demo: %s\n", error.what());
    return 1;
  }
}
