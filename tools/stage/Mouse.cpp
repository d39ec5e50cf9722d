#include "tools/stage/Mouse.h"

#include <xcb/xcbext.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <array>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace stage {

Mouse::Mouse(const std::string& display) : connection_(display) {
  answer(connection_, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection_, 2, 2));
  const auto devices = answer(connection_, xcb_input_xi_query_device_reply,
                              xcb_input_xi_query_device(connection_, XCB_INPUT_DEVICE_ALL));
  if (!devices) throw std::runtime_error("the X server names no devices");
  for (auto info = xcb_input_xi_query_device_infos_iterator(devices.get()); info.rem != 0;
       xcb_input_xi_device_info_next(&info)) {
    const std::string_view name(xcb_input_xi_device_info_name(info.data), info.data->name_len);
    const bool isPointer = info.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_POINTER;
    if (isPointer && name.find("XTEST") == std::string_view::npos) device_ = static_cast<uint8_t>(info.data->deviceid);
  }
  if (device_ == 0) throw std::runtime_error("the X server has no hardware mouse");
  firstEvent_ = xcb_get_extension_data(connection_, &xcb_input_id)->first_event;
}

// The motion of a device takes two events in one request, for which xcb_test_fake_input has no room.
void Mouse::moveTo(Point place) {
  struct {
    std::array<std::uint8_t, 4> header{};
    xcb_input_device_motion_notify_event_t motion{};
    xcb_input_device_valuator_event_t axes{};
  } request;
  static_assert(sizeof request == 68);
  constexpr std::uint8_t isAbsolute = 0;
  request.motion.response_type = static_cast<std::uint8_t>(firstEvent_ + XCB_INPUT_DEVICE_MOTION_NOTIFY);
  request.motion.detail = isAbsolute;
  request.motion.device_id = device_;
  request.axes.response_type = static_cast<std::uint8_t>(firstEvent_ + XCB_INPUT_DEVICE_VALUATOR);
  request.axes.device_id = device_;
  request.axes.num_valuators = 2;
  request.axes.valuators[0] = place.x;
  request.axes.valuators[1] = place.y;
  // The first two are the library's own.
  std::array<iovec, 4> parts{};
  parts[2] = {&request, sizeof request};
  const xcb_protocol_request_t protocol{2, &xcb_test_id, XCB_TEST_FAKE_INPUT, 1};
  xcb_send_request(connection_, 0, &parts[2], &protocol);
  xcb_flush(connection_);
  place_ = place;
}

void Mouse::glideTo(Point place, std::chrono::milliseconds duration) {
  constexpr int steps = 12;
  const Point from = place_;
  for (int step = 1; step <= steps; ++step) {
    std::this_thread::sleep_for(duration / steps);
    moveTo({static_cast<std::int16_t>(from.x + (place.x - from.x) * step / steps),
            static_cast<std::int16_t>(from.y + (place.y - from.y) * step / steps)});
  }
}

void Mouse::click(Point place) {
  moveTo(place);
  press();
  release();
  // A mouse that goes away at once takes with it what the server has not done yet.
  connection_.sync();
}

void Mouse::sendButton(bool isPress) {
  const auto type = firstEvent_ + (isPress ? XCB_INPUT_DEVICE_BUTTON_PRESS : XCB_INPUT_DEVICE_BUTTON_RELEASE);
  xcb_test_fake_input(connection_, static_cast<std::uint8_t>(type), XCB_BUTTON_INDEX_1, XCB_CURRENT_TIME,
                      XCB_WINDOW_NONE, 0, 0, device_);
  xcb_flush(connection_);
}

}  // namespace stage
