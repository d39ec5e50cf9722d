#include "tests/desktop/stage/Typist.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace stage {

Typist::Typist(const std::string& display) : connection_(display), device_(Keyboard(connection_).hardware()) {
  firstEvent_ = xcb_get_extension_data(connection_, &xcb_input_id)->first_event;
}

void Typist::press(KeyCode key) {
  fingers_.set(key);
  pressed_.push_back(key);
  send(key, true);
}

void Typist::release(KeyCode key) {
  fingers_.reset(key);
  send(key, false);
}

void Typist::tap(KeyCode key) {
  press(key);
  release(key);
}

void Typist::releaseAll() {
  for (std::size_t key = 0; key < fingers_.size(); ++key) {
    if (fingers_[key]) release(static_cast<KeyCode>(key));
  }
}

void Typist::send(KeyCode key, bool isPress) {
  const auto type = firstEvent_ + (isPress ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE);
  xcb_test_fake_input(connection_, static_cast<std::uint8_t>(type), key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0,
                      device_);
  xcb_flush(connection_);
}

const std::vector<KeyCode>& characterKeys() {
  static const std::vector<KeyCode> keys = [] {
    struct Row {
      KeyCode first, last;
    };
    std::vector<KeyCode> all;
    for (const auto row : {Row{10, 21}, Row{24, 35}, Row{38, 49}, Row{52, 61}}) {
      for (KeyCode key = row.first; key <= row.last; ++key) all.push_back(key);
    }
    return all;
  }();
  return keys;
}

}  // namespace stage
