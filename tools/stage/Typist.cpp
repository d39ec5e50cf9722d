#include "tools/stage/Typist.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <array>
#include <stdexcept>
#include <string_view>

namespace stage {
namespace {

// The characters of one row of keys, from the left, and the key that the row begins with.
struct Row {
  KeyCode first;
  std::string_view plain;
  std::string_view shifted;
};
constexpr std::array rows{Row{10, "1234567890-=", "!@#$%^&*()_+"}, Row{24, "qwertyuiop[]", "QWERTYUIOP{}"},
                          Row{38, "asdfghjkl;'`", "ASDFGHJKL:\"~"}, Row{52, "zxcvbnm,./", "ZXCVBNM<>?"}};

}  // namespace

Typist::Typist(const std::string& display) : connection_(display), device_(Keyboard(connection_).hardware()) {
  firstEvent_ = xcb_get_extension_data(connection_, &xcb_input_id)->first_event;
  // Fingers move whoever has the server to itself.
  xcb_test_grab_control(connection_, 1);
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

void Typist::tapWithControl(KeyCode key) {
  press(keyLeftControl);
  tap(key);
  release(keyLeftControl);
}

void Typist::releaseAll() {
  for (std::size_t key = 0; key < fingers_.size(); ++key) {
    if (fingers_[key]) release(static_cast<KeyCode>(key));
  }
}

void Typist::write(char character) {
  if (character == ' ') return tap(keySpace);
  for (const auto& row : rows) {
    const auto plain = row.plain.find(character);
    const auto shifted = row.shifted.find(character);
    if (plain != std::string_view::npos) return tap(static_cast<KeyCode>(row.first + plain));
    if (shifted == std::string_view::npos) continue;
    press(keyLeftShift);
    tap(static_cast<KeyCode>(row.first + shifted));
    return release(keyLeftShift);
  }
  throw std::invalid_argument("no key writes this character");
}

void Typist::send(KeyCode key, bool isPress) {
  const auto type = firstEvent_ + (isPress ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE);
  xcb_test_fake_input(connection_, static_cast<std::uint8_t>(type), key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0,
                      device_);
  xcb_flush(connection_);
}

const std::vector<KeyCode>& characterKeys() {
  static const std::vector<KeyCode> keys = [] {
    std::vector<KeyCode> all;
    for (const auto& row : rows) {
      for (std::size_t i = 0; i < row.plain.size(); ++i) all.push_back(static_cast<KeyCode>(row.first + i));
    }
    return all;
  }();
  return keys;
}

}  // namespace stage
