// stage_actor <editor|thief|grabber> [--title=TEXT] [--class=TEXT] [--no-pid]: an application on the test's desktop.
// What it reports and obeys is told in Role.h.
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "Keymap.h"
#include "Role.h"

namespace {

using namespace stage;

void handle(const xcb_generic_event_t& event, Keymap& keymap) {
  if (keymap.follow(event)) return;
  const auto type = event.response_type & 0x7f;
  if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
    const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
    report((type == XCB_KEY_PRESS ? "press " : "release ") + std::to_string(key.detail) + ' ' +
           std::to_string(key.state) + ' ' + std::to_string(keymap.keysym(key)));
  } else if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
    const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
    // A keyboard grab shows as a change of focus too.
    const bool byGrab = focus.mode == XCB_NOTIFY_MODE_GRAB || focus.mode == XCB_NOTIFY_MODE_UNGRAB;
    const bool isPointers = focus.detail == XCB_NOTIFY_DETAIL_POINTER || focus.detail == XCB_NOTIFY_DETAIL_POINTER_ROOT;
    if (!byGrab && !isPointers) report(type == XCB_FOCUS_IN ? "focus in" : "focus out");
  }
}

// True while there may be more to read.
bool obeyInput(Role& role, std::string& pending) {
  std::array<char, 512> bytes{};
  const auto size = ::read(STDIN_FILENO, bytes.data(), bytes.size());
  if (size <= 0) return false;
  pending.append(bytes.data(), static_cast<std::size_t>(size));
  for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
    const std::string line = pending.substr(0, end);
    pending.erase(0, end + 1);
    const auto space = line.find(' ');
    role.obey(line.substr(0, space), space == std::string::npos ? "" : line.substr(space + 1));
    report("done");
  }
  return true;
}

std::unique_ptr<Role> makeRole(std::string_view name, const XConnection& connection, const Looks& looks) {
  if (name == "editor") return makeEditor(connection, looks);
  if (name == "thief") return makeThief(connection, looks);
  if (name == "grabber") return makeGrabber(connection, looks);
  return nullptr;
}

int run(int count, char** arguments) {
  const std::string_view name = count > 1 ? arguments[1] : "";
  Looks looks{std::string(name), "stage-" + std::string(name)};
  for (int i = 2; i < count; ++i) {
    const std::string_view option = arguments[i];
    if (option.starts_with("--title=")) looks.title = option.substr(8);
    if (option.starts_with("--class=")) looks.windowClass = option.substr(8);
    if (option == "--no-pid") looks.hasProcessId = false;
  }
  const XConnection connection("");
  Keymap keymap(connection);
  const auto role = makeRole(name, connection, looks);
  if (!role) return 2;
  std::string pending;
  for (;;) {
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) handle(*event, keymap);
    if (xcb_connection_has_error(connection) != 0) return 0;
    xcb_flush(connection);
    std::array<pollfd, 2> ready{{{STDIN_FILENO, POLLIN, 0}, {xcb_get_file_descriptor(connection), POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), -1);
    if (ready[0].revents != 0 && !obeyInput(*role, pending)) return 0;
  }
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return run(count, arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "stage_actor: %s\n", error.what());
    return 1;
  }
}
