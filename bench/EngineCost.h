// What the engine costs by itself, in this process.
#pragma once

#include <vector>

#include "Table.h"

namespace bench {

// One key after another through the tap's callback, nothing being held back: nanoseconds and allocations each.
std::vector<Row> measureTappedEvents();
// One append to a log of ten thousand events, down to the disk, in a temporary folder, and the memory that one to a
// longer log takes.
std::vector<Row> measureLogAppend();
// One whitelist check, which reads the stored settings, with a hundred entries of the user's.
Row measureWhitelistCheck();

}  // namespace bench
