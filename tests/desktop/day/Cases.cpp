#include "tests/desktop/day/Cases.h"

#include <algorithm>

namespace stage::day {

std::vector<Case> everyCase() {
  auto cases = ordinaryCases();
  const auto others = thefts();
  cases.insert(cases.end(), others.begin(), others.end());
  return cases;
}

bool Case::appliesTo(WindowManager manager) const {
  return std::find(notUnder.begin(), notUnder.end(), manager) == notUnder.end();
}

Verdict play(const Case& chosen, WindowManager manager, bool isGuarded) {
  Story story(manager, chosen.model, isGuarded);
  try {
    return story.end(chosen.tell(story), chosen.isTheft);
  } catch (const std::exception& deviation) {
    return story.endWith(deviation.what(), chosen.isTheft);
  }
}

}  // namespace stage::day
