// varnolet_day: plays the day of the tests under several window managers and prints what became of it.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/desktop/day/Cases.h"
#include "tests/desktop/day/Counts.h"

namespace {

using namespace stage;
using day::Case;
using day::Verdict;

constexpr std::string_view usage =
    "usage: varnolet_day [OPTION]... [WINDOW MANAGER]...\n"
    "  --rounds N    how often to play each case (1)\n"
    "  --at-once N   how many to play at the same time, each on a desktop of its own (4)\n"
    "  --case TEXT   only the cases with this in their name\n"
    "  --real        instead: some of it with programs that people have\n"
    "  --clicks N    instead: so many clicks on other windows, with busy loops beside\n"
    "  --alt-tabs N  instead: so many Alt-Tabs of each kind, likewise\n"
    "  --busy N      how many loops (2)\n"
    "  --without     without the program: what the window managers do by themselves\n"
    "  --why         say of each case that failed what happened\n"
    "Window managers: all that are installed, if none is named.\n";

struct Wishes {
  std::vector<WindowManager> managers;
  std::string part;
  unsigned rounds = 1;
  unsigned atOnce = 4;
  unsigned clicks = 0;
  unsigned altTabs = 0;
  unsigned busyLoops = 2;
  bool isUnguarded = false;
  bool saysWhy = false;
  bool isReal = false;
};

bool understand(int count, char** arguments, Wishes& wishes) {
  const std::map<std::string_view, unsigned*> numbers{{"--rounds", &wishes.rounds},
                                                      {"--at-once", &wishes.atOnce},
                                                      {"--clicks", &wishes.clicks},
                                                      {"--alt-tabs", &wishes.altTabs},
                                                      {"--busy", &wishes.busyLoops}};
  const std::map<std::string_view, bool*> switches{
      {"--without", &wishes.isUnguarded}, {"--why", &wishes.saysWhy}, {"--real", &wishes.isReal}};
  for (int i = 1; i < count; ++i) {
    const std::string_view word = arguments[i];
    const auto manager = std::find_if(everyWindowManager.begin(), everyWindowManager.end(),
                                      [&](WindowManager one) { return nameOf(one) == word; });
    const bool hasValue = i + 1 < count;
    if (manager != everyWindowManager.end()) {
      wishes.managers.push_back(*manager);
    } else if (const auto wish = switches.find(word); wish != switches.end()) {
      *wish->second = true;
    } else if (const auto number = numbers.find(word); number != numbers.end() && hasValue) {
      *number->second = static_cast<unsigned>(std::stoul(arguments[++i]));
    } else if (word == "--case" && hasValue) {
      wishes.part = arguments[++i];
    } else {
      return false;
    }
  }
  if (wishes.managers.empty()) {
    std::copy_if(everyWindowManager.begin(), everyWindowManager.end(), std::back_inserter(wishes.managers),
                 isInstalled);
  }
  return true;
}

// Plays `count` pieces, by their numbers, some at the same time.
void playAll(std::size_t count, unsigned atOnce, const std::function<void(std::size_t)>& play) {
  std::atomic<std::size_t> next = 0;
  std::vector<std::jthread> players;
  for (unsigned i = 0; i < atOnce; ++i) {
    players.emplace_back([&] {
      for (std::size_t piece = next++; piece < count; piece = next++) play(piece);
    });
  }
}

// What became of one case under one window manager: how often it ended how.
using Cell = std::map<day::Ending, unsigned>;

std::string textOf(const Cell& cell) {
  std::string text;
  for (const auto& [ending, times] : cell) {
    text += (text.empty() ? "" : ", ") + nameOf(ending) + (cell.size() > 1 ? ' ' + std::to_string(times) : "");
  }
  return text.empty() ? "-" : text;
}

class Day {
 public:
  explicit Day(Wishes wishes)
      : wishes_(std::move(wishes)), cases_(wishes_.isReal ? day::casesOfRealPrograms() : day::everyCase()) {
    std::erase_if(cases_, [&](const Case& one) { return one.name.find(wishes_.part) == std::string::npos; });
    cells_.resize(cases_.size() * wishes_.managers.size());
  }

  void play() {
    playAll(cells_.size() * wishes_.rounds, wishes_.atOnce, [this](std::size_t piece) {
      const auto place = piece % cells_.size();
      const auto& chosen = cases_[place / wishes_.managers.size()];
      const auto manager = wishes_.managers[place % wishes_.managers.size()];
      if (chosen.appliesTo(manager)) note(place, chosen, manager);
    });
  }

  // True if all is well.
  bool print() const {
    constexpr int width = 12;
    std::printf("%-30s", "");
    for (const auto manager : wishes_.managers) std::printf("%-*s", width, nameOf(manager).c_str());
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      if (i % wishes_.managers.size() == 0) std::printf("\n%-30s", cases_[i / wishes_.managers.size()].name.c_str());
      std::printf("%-*s", width, textOf(cells_[i]).c_str());
    }
    std::printf("\n%u of %u as they should be\n", played_ - failed_, played_);
    return failed_ == 0;
  }

 private:
  void note(std::size_t place, const Case& chosen, WindowManager manager) {
    Verdict verdict;
    try {
      verdict = day::play(chosen, manager, !wishes_.isUnguarded);
    } catch (const std::exception& error) {
      verdict = {day::Ending::otherwise, error.what()};
    }
    const std::lock_guard lock(mutex_);
    ++cells_[place][verdict.ending];
    ++played_;
    if (verdict.isWell()) return;
    ++failed_;
    const std::string why = wishes_.saysWhy ? ": " + verdict.account : "";
    std::fprintf(stderr, "%s, %s: %s%s\n", chosen.name.c_str(), nameOf(manager).c_str(), nameOf(verdict.ending).c_str(),
                 why.c_str());
  }

  Wishes wishes_;
  std::vector<Case> cases_;
  std::mutex mutex_;
  std::vector<Cell> cells_;
  unsigned played_ = 0;
  unsigned failed_ = 0;
};

// True if none was undone or lost.
bool playCounts(const Wishes& wishes) {
  const std::vector<std::jthread> busyLoops = [&wishes] {
    std::vector<std::jthread> loops;
    for (unsigned i = 0; i < wishes.busyLoops; ++i) {
      loops.emplace_back([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
        }
      });
    }
    return loops;
  }();
  std::atomic<bool> isWell = true;
  const auto deeds = day::deeds();
  playAll(deeds.size() * wishes.managers.size(), wishes.atOnce, [&](std::size_t piece) {
    const auto& deed = deeds[piece / wishes.managers.size()];
    const auto manager = wishes.managers[piece % wishes.managers.size()];
    const auto times = deed.name == "clicks" ? wishes.clicks : wishes.altTabs;
    if (times == 0) return;
    try {
      const auto [done, undone, lost, astray] = deed.count(manager, times, !wishes.isUnguarded);
      std::printf("%-10s %u %s: %u undone, %u lost%s\n", nameOf(manager).c_str(), done, deed.name.c_str(), undone, lost,
                  astray.c_str());
      if (undone + lost > 0 || !astray.empty()) isWell = false;
    } catch (const std::exception& error) {
      std::printf("%-10s %s: %s\n", nameOf(manager).c_str(), deed.name.c_str(), error.what());
      isWell = false;
    }
    std::fflush(stdout);
  });
  return isWell;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    Wishes wishes;
    if (!understand(count, arguments, wishes)) {
      const bool isAsked = count == 2 && arguments[1] == std::string_view("--help");
      std::fputs(std::string(usage).c_str(), isAsked ? stdout : stderr);
      return isAsked ? 0 : 2;
    }
    if (wishes.clicks + wishes.altTabs > 0) return playCounts(wishes) ? 0 : 1;
    Day day(std::move(wishes));
    day.play();
    return day.print() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnolet_day: %s\n", error.what());
    return 1;
  }
}
