#include "Listener.h"

#include <xcb/xinput.h>

#include <cstdio>

#include "tools/stage/Keyboard.h"
#include "tools/stage/XConnection.h"

namespace bench {

int runListener() {
  const stage::XConnection connection("");
  const stage::Keyboard keyboard(connection);
  const struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } selection{{keyboard.hardware(), 1},
              XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
  xcb_input_xi_select_events(connection, connection.root(), 1, &selection.header);
  connection.sync();
  std::fputs("ready\n", stderr);
  while (const stage::Owned<xcb_generic_event_t> event{xcb_wait_for_event(connection)}) {
  }
  return 1;
}

}  // namespace bench
