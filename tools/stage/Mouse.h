// Someone at the hardware mouse.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "tools/stage/XConnection.h"

namespace stage {

struct Point {
  std::int16_t x = 0;
  std::int16_t y = 0;
};

// Its motions and its left button are events of the hardware mouse. One thread at a time.
class Mouse {
 public:
  // Throws std::runtime_error if the server has no hardware mouse.
  explicit Mouse(const std::string& display);

  // To a place on the screen at once.
  void moveTo(Point place);
  // There in many small steps, which take `duration` altogether.
  void glideTo(Point place, std::chrono::milliseconds duration = std::chrono::milliseconds(60));
  void press() { sendButton(true); }
  void release() { sendButton(false); }
  void click(Point place);

 private:
  void sendButton(bool isPress);

  XConnection connection_;
  std::uint8_t device_ = 0;
  std::uint8_t firstEvent_ = 0;
  Point place_;
};

}  // namespace stage
