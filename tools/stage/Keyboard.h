// The keyboards of an X server, as the server sees them.
#pragma once

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/stage/XConnection.h"

namespace stage {

using KeyCode = std::uint8_t;
using KeySet = std::bitset<256>;
using DeviceId = std::uint8_t;

// Of the US layout on a PC keyboard.
inline constexpr KeyCode keyA = 38;
inline constexpr KeyCode keyB = 56;
inline constexpr KeyCode keyLeftShift = 50;
inline constexpr KeyCode keyRightShift = 62;
inline constexpr KeyCode keyLeftControl = 37;
inline constexpr KeyCode keyLeftAlt = 64;
inline constexpr KeyCode keyRightAlt = 108;
inline constexpr KeyCode keyLeftSuper = 133;
inline constexpr KeyCode keyEscape = 9;
inline constexpr KeyCode keyBackspace = 22;
inline constexpr KeyCode keyTab = 23;
inline constexpr KeyCode keyReturn = 36;
inline constexpr KeyCode keySpace = 65;
inline constexpr KeyCode keyLeft = 113;
inline constexpr KeyCode keyRight = 114;
inline constexpr KeyCode keyQ = 24;
inline constexpr KeyCode keyW = 25;
inline constexpr KeyCode keyS = 39;
inline constexpr KeyCode keyF1 = 67;
inline constexpr KeyCode keyF12 = 96;

struct ModifierState {
  std::uint8_t base = 0;
  std::uint8_t latched = 0;
  std::uint8_t locked = 0;
  std::uint8_t group = 0;
  friend bool operator==(const ModifierState&, const ModifierState&) = default;
};

class Keyboard {
 public:
  // Throws std::runtime_error if the server has no hardware keyboard.
  explicit Keyboard(const XConnection& connection);

  DeviceId hardware() const { return hardware_; }
  DeviceId xtest() const { return xtest_; }
  // True while a client holds the hardware keyboard back from the applications: a guard's gate is closed.
  bool isFloating() const;
  // What the applications are shown.
  KeySet keysDown() const;
  ModifierState modifiers() const;
  // What one keyboard holds down, shown or not.
  KeySet keysDownOn(DeviceId device) const;
  // Switches the hardware keyboard off and on again: the nearest to unplugging that this server offers.
  void setEnabled(bool enabled) const;
  // Attaches the hardware keyboard to the one that the applications know, or makes it float, as a settings program
  // does.
  void setAttached(bool attached) const;
  // Whether nobody holds it back: it can be had for a moment.
  bool isFree() const;
  // Of the hardware keyboard.
  void setRepeat(std::uint16_t delayMs, std::uint16_t intervalMs) const;
  // Switches to another group of the layout, as a layout switcher does: on the keyboard that the applications know.
  void lockGroup(std::uint8_t group) const;

 private:
  const XConnection& connection_;
  DeviceId hardware_ = 0;
  DeviceId xtest_ = 0;
};

// The key codes of a set, for messages: "38 50".
std::string listOf(const KeySet& keys);

}  // namespace stage
