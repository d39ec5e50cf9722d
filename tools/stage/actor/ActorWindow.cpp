#include "ActorWindow.h"

#include <unistd.h>

#include <array>

namespace stage {
namespace {

constexpr std::uint32_t windowEvents = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                       XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                       XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;

}  // namespace

ActorWindow::ActorWindow(const XConnection& connection, const Looks& looks)
    : connection_(connection), id_(xcb_generate_id(connection)) {
  const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const auto [x, y] = looks.place.value_or(std::pair(0, 0));
  const std::array<std::uint32_t, 3> values{screen->white_pixel, looks.isMenu ? 1u : 0u, windowEvents};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, id_, connection.root(), static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), 300, looks.isDock ? 40 : 200, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                    screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK,
                    values.data());
  if (!looks.title.empty()) {
    setText("WM_NAME", "STRING", looks.title);
    setText("_NET_WM_NAME", "UTF8_STRING", looks.title);
  }
  if (!looks.windowClass.empty()) {
    setText("WM_CLASS", "STRING", looks.windowClass + '\0' + looks.windowClass + '\0');
  }
  if (!looks.applicationId.empty()) setText("_GTK_APPLICATION_ID", "UTF8_STRING", looks.applicationId);
  if (looks.hasProcessId) {
    setNumber("_NET_WM_PID", "CARDINAL", static_cast<std::uint32_t>(::getpid()));
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    setText("WM_CLIENT_MACHINE", "STRING", host.data());
  }
  if (looks.isModest || looks.userTime != 0) setNumber("_NET_WM_USER_TIME", "CARDINAL", looks.userTime);
  if (looks.isDock) setNumber("_NET_WM_WINDOW_TYPE", "ATOM", connection.atom("_NET_WM_WINDOW_TYPE_DOCK"));
  if (looks.place) {
    // By the user's own wish, which is the one that window managers heed.
    constexpr std::uint32_t userPosition = 1;
    const std::array<std::uint32_t, 18> sizes{userPosition, static_cast<std::uint32_t>(x),
                                              static_cast<std::uint32_t>(y)};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32,
                        sizes.size(), sizes.data());
  }
  // Takes keys when it is given the focus: the first word names the one hint that is set.
  const std::array<std::uint32_t, 9> hints{1, looks.isModest || looks.isDock ? 0u : 1u};
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

void ActorWindow::withdraw() const {
  xcb_unmap_window(connection_, id_);
  xcb_flush(connection_);
}

void ActorWindow::setNumber(const char* property, const char* type, std::uint32_t number) const {
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, connection_.atom(property), connection_.atom(type), 32,
                      1, &number);
}

void ActorWindow::setText(const char* property, const char* type, const std::string& bytes) const {
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, connection_.atom(property), connection_.atom(type), 8,
                      static_cast<std::uint32_t>(bytes.size()), bytes.data());
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
