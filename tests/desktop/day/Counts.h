// The same thing done very often, while the machine is busy.
#pragma once

#include <string>
#include <vector>

#include "tests/desktop/day/Story.h"

namespace stage::day {

struct Count {
  unsigned done = 0;
  // Taken for a theft.
  unsigned undone = 0;
  // Without the effect that it should have had, but for those that were undone.
  unsigned lost = 0;
  // Keys that arrived where none was meant to.
  std::string astray{};
};

struct Deed {
  std::string name;
  Count (*count)(WindowManager manager, unsigned times, bool isGuarded);
};

// Clicks on another window, and Alt-Tab quick, held and stepped; of these every fourth 15 ms after the guard has let go
// of the keyboard. Long enough one after the other for none to excuse the next.
std::vector<Deed> deeds();

}  // namespace stage::day
