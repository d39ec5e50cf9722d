#include "ActorWindow.h"

#include <unistd.h>

#include <array>

namespace stage {
namespace {

constexpr std::uint32_t windowEvents = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                       XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;

}  // namespace

ActorWindow::ActorWindow(const XConnection& connection, const Looks& looks)
    : connection_(connection), id_(xcb_generate_id(connection)) {
  const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const std::array<std::uint32_t, 2> values{screen->white_pixel, windowEvents};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, id_, connection.root(), 0, 0, 300, 200, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                    values.data());
  if (!looks.title.empty()) {
    setText("WM_NAME", "STRING", looks.title);
    setText("_NET_WM_NAME", "UTF8_STRING", looks.title);
  }
  if (!looks.windowClass.empty()) {
    setText("WM_CLASS", "STRING", looks.windowClass + '\0' + looks.windowClass + '\0');
  }
  if (looks.hasProcessId) {
    const auto pid = static_cast<std::uint32_t>(::getpid());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id_, connection.atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32,
                        1, &pid);
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    setText("WM_CLIENT_MACHINE", "STRING", host.data());
  }
  if (looks.isModest) {
    const std::uint32_t never = 0;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id_, connection.atom("_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL,
                        32, 1, &never);
  }
  // Takes keys when it is given the focus: the first word names the one hint that is set.
  const std::array<std::uint32_t, 9> hints{1, looks.isModest ? 0u : 1u};
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, 9,
                      hints.data());
}

ActorWindow::~ActorWindow() {
  xcb_destroy_window(connection_, id_);
  xcb_flush(connection_);
}

void ActorWindow::map() const {
  xcb_map_window(connection_, id_);
  xcb_flush(connection_);
}

void ActorWindow::setText(const char* property, const char* type, const std::string& bytes) const {
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, connection_.atom(property), connection_.atom(type), 8,
                      static_cast<std::uint32_t>(bytes.size()), bytes.data());
}

void requestActivation(const XConnection& connection, xcb_window_t window, std::uint32_t source, std::uint32_t time) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = connection.atom("_NET_ACTIVE_WINDOW");
  message.data.data32[0] = source;
  message.data.data32[1] = time;
  xcb_send_event(connection, 0, connection.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

std::uint32_t serverTime(const XConnection& connection, xcb_window_t window) {
  const std::uint32_t wanted = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &wanted);
  xcb_change_property(connection, XCB_PROP_MODE_APPEND, window, connection.atom("STAGE_TIME"), XCB_ATOM_STRING, 8, 0,
                      nullptr);
  xcb_flush(connection);
  std::uint32_t time = XCB_CURRENT_TIME;
  while (const Owned<xcb_generic_event_t> event{xcb_wait_for_event(connection)}) {
    if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY) continue;
    time = reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
    break;
  }
  const std::uint32_t none = 0;
  xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &none);
  return time;
}

}  // namespace stage
