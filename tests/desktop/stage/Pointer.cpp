#include "tests/desktop/stage/Pointer.h"

#include <xcb/xtest.h>

namespace stage {

void click(const XConnection& connection, Point place) {
  const auto fake = [&](std::uint8_t event, std::uint8_t detail) {
    xcb_test_fake_input(connection, event, detail, XCB_CURRENT_TIME, connection.root(), place.x, place.y, 0);
  };
  fake(XCB_MOTION_NOTIFY, 0);
  fake(XCB_BUTTON_PRESS, XCB_BUTTON_INDEX_1);
  fake(XCB_BUTTON_RELEASE, XCB_BUTTON_INDEX_1);
  connection.sync();
}

}  // namespace stage
