// window_client: makes windows that belong to a process of their own, as it is told on standard input, a command a
// line:
//   create | create-override-redirect     answered with "window ID", as is
//   create-inside ID
//   map ID | unmap ID | destroy ID         answered with "done"
// Everything else about the windows can be set by whoever knows their IDs.
#include <cstdio>
#include <iostream>
#include <string>

#include "tools/stage/XConnection.h"

namespace {

xcb_window_t create(const stage::XConnection& connection, xcb_window_t parent, bool isOverrideRedirect) {
  const xcb_window_t window = xcb_generate_id(connection);
  const std::uint32_t overrideRedirect = isOverrideRedirect ? 1 : 0;
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, parent, 10, 10, 200, 100, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
  return window;
}

std::string obey(const stage::XConnection& connection, const std::string& command, xcb_window_t window) {
  if (command == "map") {
    xcb_map_window(connection, window);
  } else if (command == "unmap") {
    xcb_unmap_window(connection, window);
  } else if (command == "destroy") {
    xcb_destroy_window(connection, window);
  } else {
    const xcb_window_t parent = command == "create-inside" ? window : connection.root();
    return "window " + std::to_string(create(connection, parent, command == "create-override-redirect"));
  }
  return "done";
}

}  // namespace

int main() {
  const stage::XConnection connection("");
  for (std::string line; std::getline(std::cin, line);) {
    const auto space = line.find(' ');
    const auto window = space == std::string::npos ? 0 : std::stoul(line.substr(space + 1));
    const std::string answer = obey(connection, line.substr(0, space), static_cast<xcb_window_t>(window));
    connection.sync();
    std::cout << answer << std::endl;
  }
}
