#include "Forwarder.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <cstdio>

#include "tools/stage/Keyboard.h"
#include "tools/stage/XConnection.h"

namespace bench {

int runForwarder() {
  const stage::XConnection connection("");
  const stage::Keyboard keyboard(connection);
  const std::uint32_t keys = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
  const auto grab = stage::answer(
      connection, xcb_input_xi_grab_device_reply,
      xcb_input_xi_grab_device(connection, connection.root(), XCB_CURRENT_TIME, XCB_CURSOR_NONE, keyboard.hardware(),
                               XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC, 0, 1, &keys));
  if (!grab || grab->status != XCB_GRAB_STATUS_SUCCESS) return 1;
  std::fputs("ready\n", stderr);
  const auto extension = xcb_get_extension_data(connection, &xcb_input_id)->major_opcode;
  while (const stage::Owned<xcb_generic_event_t> event{xcb_wait_for_event(connection)}) {
    if ((event->response_type & 0x7f) != XCB_GE_GENERIC) continue;
    const auto& key = reinterpret_cast<const xcb_input_key_press_event_t&>(*event);
    if (key.extension != extension || (key.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0) continue;
    const std::uint8_t type = key.event_type == XCB_INPUT_KEY_PRESS ? XCB_KEY_PRESS : XCB_KEY_RELEASE;
    xcb_test_fake_input(connection, type, static_cast<std::uint8_t>(key.detail), XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0,
                        0, 0);
    xcb_flush(connection);
  }
  return 1;
}

}  // namespace bench
