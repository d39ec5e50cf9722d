// Someone with a mouse.
#pragma once

#include <cstdint>

#include "tests/desktop/stage/XConnection.h"

namespace stage {

struct Point {
  std::int16_t x = 0;
  std::int16_t y = 0;
};

// With the left button, at a place on the screen.
void click(const XConnection& connection, Point place);

}  // namespace stage
