#include "platform/linux/x11/DisplayOwner.h"

#include <poll.h>

namespace platform::linux_desktop {
namespace {

using std::chrono::steady_clock;

// The keyboards belong to the display, so all of its screens share one selection.
constexpr char selectionName[] = "_VARNOLET_GUARD";

// Takes the selection if it is free; otherwise the connection will hear of the end of the owner's window.
bool takeIfFree(XcbConnection& connection, xcb_window_t window, xcb_atom_t selection) {
  xcb_grab_server(connection);
  const auto owner = replyTo(connection, xcb_get_selection_owner_reply, xcb_get_selection_owner(connection, selection));
  const bool isFree = owner && owner->owner == XCB_WINDOW_NONE;
  if (isFree) {
    xcb_set_selection_owner(connection, window, selection, XCB_CURRENT_TIME);
  } else if (owner) {
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, owner->owner, XCB_CW_EVENT_MASK, &events);
  }
  xcb_ungrab_server(connection);
  xcb_flush(connection);
  return isFree;
}

}  // namespace

std::unique_ptr<DisplayOwner> DisplayOwner::claim(std::chrono::milliseconds patience) {
  const auto deadline = steady_clock::now() + patience;
  auto connection = XcbConnection::open();
  if (!connection) return nullptr;
  const xcb_atom_t selection = connection->atom(selectionName);
  const xcb_window_t window = xcb_generate_id(*connection);
  xcb_create_window(*connection, XCB_COPY_FROM_PARENT, window, connection->root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  while (!takeIfFree(*connection, window, selection)) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
    if (connection->isLost() || left.count() <= 0) return nullptr;
    pollfd news{connection->fileDescriptor(), POLLIN, 0};
    poll(&news, 1, static_cast<int>(left.count()));
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(*connection)}) {
    }
  }
  return std::unique_ptr<DisplayOwner>(new DisplayOwner(std::move(connection)));
}

}  // namespace platform::linux_desktop
