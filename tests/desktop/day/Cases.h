// A day at a desktop, case by case.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/desktop/day/Story.h"

namespace stage::day {

struct Case {
  std::string name;
  // Ends with the name of the program that has to be in front then.
  std::function<std::string(Story&)> tell;
  FocusModel model = FocusModel::click;
  bool isTheft = false;
  // Window managers that lack what it is about.
  std::vector<WindowManager> notUnder{};
  bool appliesTo(WindowManager manager) const;
  friend std::ostream& operator<<(std::ostream& stream, const Case& one) { return stream << one.name; }
};

// What users do: none of it may be undone or counted.
std::vector<Case> ordinaryCases();
// What is done to them: all of it has to be undone.
std::vector<Case> thefts();
std::vector<Case> everyCase();
// Some of the former with programs that people have; needs them installed.
std::vector<Case> casesOfRealPrograms();

Verdict play(const Case& chosen, WindowManager manager, bool isGuarded = true);

}  // namespace stage::day
