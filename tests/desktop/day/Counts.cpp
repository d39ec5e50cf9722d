#include "tests/desktop/day/Counts.h"

#include <algorithm>
#include <random>

namespace stage::day {
namespace {

using namespace std::chrono_literals;

// Longer than a gesture excuses what follows it.
milliseconds aWhile(std::mt19937& random) {
  return milliseconds(std::uniform_int_distribution(520, 700)(random));
}

Count outcome(Story& story, unsigned done, unsigned failed) {
  story.awaitJudgements();
  const auto undone = static_cast<unsigned>(story.blocked());
  return {done, undone, failed - std::min(failed, undone), story.keysAstray()};
}

Count clicks(WindowManager manager, unsigned times, bool isGuarded) {
  std::mt19937 random(times);
  Story story(manager, FocusModel::click, isGuarded);
  story.enter("mail");
  story.enter("editor");
  story.beginGuarding();
  unsigned failed = 0;
  for (unsigned i = 0; i < times; ++i) {
    const std::string other = story["editor"].isFocused() ? "mail" : "editor";
    Story::pause(aWhile(random));
    story.glideTo(other);
    story.click(other);
    if (!story.isSoonInFront(other)) ++failed;
  }
  return outcome(story, times, failed);
}

template <int steps, int heldMs>
Count altTabs(WindowManager manager, unsigned times, bool isGuarded) {
  std::mt19937 random(times);
  Story story(manager, FocusModel::click, isGuarded);
  story.enter("clock", {"--hidden", "--menu"});
  for (const char* name : {"mail", "calendar", "editor"}) story.enter(name);
  story.beginGuarding();
  unsigned failed = 0;
  for (unsigned i = 0; i < times; ++i) {
    if (i % 4 == 0) {
      story.tell("clock", "map");
      story.awaitGate(false);
      story.typeInFront();
      story.awaitGate(true);
      Story::pause(15ms);
    } else {
      Story::pause(aWhile(random));
    }
    if (story.isSoonInFront(story.altTab(steps, milliseconds(heldMs)))) continue;
    ++failed;
    story.lookWhoIsInFront();
  }
  return outcome(story, times, failed);
}

}  // namespace

std::vector<Deed> deeds() {
  return {{"clicks", clicks},
          {"quick Alt-Tabs", altTabs<1, 0>},
          {"held Alt-Tabs", altTabs<1, 900>},
          {"stepped Alt-Tabs", altTabs<2, 300>}};
}

}  // namespace stage::day
