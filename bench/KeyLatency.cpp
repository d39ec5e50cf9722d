#include "KeyLatency.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

std::optional<ProbeWindow::Event> kindOf(const xcb_generic_event_t& event) {
  const auto isGrabs = [&] {
    const auto mode = reinterpret_cast<const xcb_focus_in_event_t&>(event).mode;
    return mode == XCB_NOTIFY_MODE_GRAB || mode == XCB_NOTIFY_MODE_UNGRAB;
  };
  switch (event.response_type & 0x7f) {
    case XCB_KEY_PRESS:
      return ProbeWindow::Event::keyPress;
    case XCB_KEY_RELEASE:
      return ProbeWindow::Event::keyRelease;
    case XCB_FOCUS_IN:
      return isGrabs() ? std::nullopt : std::optional(ProbeWindow::Event::focusIn);
    case XCB_FOCUS_OUT:
      return isGrabs() ? std::nullopt : std::optional(ProbeWindow::Event::focusOut);
    default:
      return std::nullopt;
  }
}

}  // namespace

ProbeWindow::ProbeWindow(const std::string& display) : connection_(display), id_(xcb_generate_id(connection_)) {
  const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, id_, connection_.root(), 0, 0, 300, 200, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
  constexpr std::array<std::uint32_t, 9> takesInput{1, 1};
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32,
                      takesInput.size(), takesInput.data());
  constexpr char windowClass[] = "bench\0bench";
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                      sizeof windowClass, windowClass);
  xcb_map_window(connection_, id_);
  connection_.sync();
}

bool ProbeWindow::waitFor(Event event) {
  constexpr int patienceMs = 5000;
  for (;;) {
    while (const stage::Owned<xcb_generic_event_t> next{xcb_poll_for_event(connection_)}) {
      if (kindOf(*next) == event) return true;
    }
    pollfd readable{xcb_get_file_descriptor(connection_), POLLIN, 0};
    if (::poll(&readable, 1, patienceMs) <= 0) return false;
  }
}

bool ProbeWindow::waitFor(Event event, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (!waitFor(event)) return false;
  }
  return true;
}

void ProbeWindow::drain() {
  connection_.sync();
  while (const stage::Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
  }
}

Samples measureKeys(stage::Typist& typist, ProbeWindow& window, std::size_t count) {
  constexpr auto pause = std::chrono::microseconds(500);
  Samples samples;
  window.drain();
  for (std::size_t i = 0; i < count; ++i) {
    const auto pressed = Clock::now();
    typist.press(stage::keyA);
    if (!window.waitFor(ProbeWindow::Event::keyPress)) throw std::runtime_error("a key does not arrive");
    samples.add(std::chrono::duration<double, std::micro>(Clock::now() - pressed).count());
    typist.release(stage::keyA);
    if (!window.waitFor(ProbeWindow::Event::keyRelease)) throw std::runtime_error("a release does not arrive");
    std::this_thread::sleep_for(pause);
  }
  return samples;
}

}  // namespace bench
