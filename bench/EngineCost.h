// What the engine costs by itself, in this process.
#pragma once

#include <vector>

#include "Table.h"

namespace bench {

// One key after another through the tap's callback, nothing being held back: nanoseconds and allocations each.
std::vector<Row> measureTappedEvents();
// One append to a log of ten thousand events, down to the disk, in a temporary folder.
Row measureLogAppend();
// One whitelist check, which reads the stored settings, with a hundred entries of the user's.
Row measureWhitelistCheck();

}  // namespace bench
