// Someone at the hardware keyboard.
#pragma once

#include <string>
#include <vector>

#include "tools/stage/Keyboard.h"
#include "tools/stage/XConnection.h"

namespace stage {

// Its keys are events of the hardware keyboard: they repeat while held, and a grab of that keyboard takes them. Knows
// which fingers are down. One thread at a time.
class Typist {
 public:
  explicit Typist(const std::string& display);

  void press(KeyCode key);
  void release(KeyCode key);
  void tap(KeyCode key);
  void tapWithControl(KeyCode key);
  void releaseAll();
  // A character as on a US keyboard, with Shift where it takes one. Throws std::invalid_argument for one that it lacks.
  void write(char character);

  const KeySet& fingers() const { return fingers_; }
  // Key codes in the order in which they were pressed.
  const std::vector<KeyCode>& pressed() const { return pressed_; }
  void forgetPressed() { pressed_.clear(); }

 private:
  void send(KeyCode key, bool isPress);

  XConnection connection_;
  DeviceId device_;
  std::uint8_t firstEvent_ = 0;
  KeySet fingers_;
  std::vector<KeyCode> pressed_;
};

// The keys that write a character, in the order of the keyboard.
const std::vector<KeyCode>& characterKeys();

}  // namespace stage
