#include "platform/linux/x11/XcbConnection.h"

#include <string.h>

namespace platform::linux_desktop {

void FreeDeleter::overwrite(xcb_generic_event_t& event) noexcept {
  const bool isLong = (event.response_type & 0x7F) == XCB_GE_GENERIC;
  const std::size_t more = isLong ? reinterpret_cast<const xcb_ge_generic_event_t&>(event).length * std::size_t{4} : 0;
  ::explicit_bzero(&event, sizeof event + more);
}

std::unique_ptr<XcbConnection> XcbConnection::open() {
  int screen = 0;
  xcb_connection_t* connection = xcb_connect(nullptr, &screen);
  if (xcb_connection_has_error(connection)) {
    xcb_disconnect(connection);
    return nullptr;
  }
  return std::unique_ptr<XcbConnection>(new XcbConnection(connection, screen));
}

XcbConnection::XcbConnection(xcb_connection_t* connection, int screen) : connection_(connection) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
  for (; screen > 0 && screens.rem > 1; --screen) xcb_screen_next(&screens);
  root_ = screens.data->root;
}

XcbConnection::~XcbConnection() {
  xcb_disconnect(connection_);
}

xcb_atom_t XcbConnection::atom(std::string_view name) {
  const auto known = atoms_.find(name);
  if (known != atoms_.end()) return known->second;
  const auto reply = replyTo(connection_, xcb_intern_atom_reply,
                             xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
  if (!reply) return XCB_ATOM_NONE;
  return atoms_.emplace(name, reply->atom).first->second;
}

}  // namespace platform::linux_desktop
