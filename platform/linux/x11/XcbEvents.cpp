#include "platform/linux/x11/XcbEvents.h"

#include <utility>

namespace platform::linux_desktop {

XcbEvents::XcbEvents(XcbConnection& connection) : connection_(connection), clockWindow_(xcb_generate_id(connection)) {
  const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_create_window(connection_, 0, clockWindow_, connection_.root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0,
                    XCB_CW_EVENT_MASK, &events);
}

XcbEvents::~XcbEvents() {
  xcb_destroy_window(connection_, clockWindow_);
}

XcbOwned<xcb_generic_event_t> XcbEvents::next() {
  if (waiting_.empty()) return XcbOwned<xcb_generic_event_t>(xcb_poll_for_event(connection_));
  auto event = std::move(waiting_.front());
  waiting_.pop_front();
  return event;
}

xcb_timestamp_t XcbEvents::serverTime() {
  xcb_change_property(connection_, XCB_PROP_MODE_APPEND, clockWindow_, connection_.atom("VARNOLET_CLOCK"),
                      XCB_ATOM_STRING, 8, 0, nullptr);
  // The answer to any question comes after the event of the change.
  replyTo(connection_, xcb_get_input_focus_reply, xcb_get_input_focus(connection_));
  xcb_timestamp_t time = XCB_CURRENT_TIME;
  while (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_)}) {
    const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event.get());
    if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY && change->window == clockWindow_) {
      time = change->time;
    } else {
      waiting_.push_back(std::move(event));
    }
  }
  return time;
}

}  // namespace platform::linux_desktop
