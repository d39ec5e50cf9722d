// How long a key takes from the hardware keyboard to a window of this process.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "Samples.h"
#include "tools/stage/Typist.h"
#include "tools/stage/XConnection.h"

namespace bench {

// A mapped window whose keys and focus this process watches.
class ProbeWindow {
 public:
  enum class Event { keyPress, keyRelease, focusIn, focusOut };

  explicit ProbeWindow(const std::string& display);

  xcb_window_t id() const { return id_; }
  // The next such event, other kinds thrown away; false if it did not come.
  bool waitFor(Event event);
  // The same for so many.
  bool waitFor(Event event, std::size_t count);
  // Throws away what has come so far.
  void drain();

 private:
  stage::XConnection connection_;
  xcb_window_t id_;
};

// Microseconds from the press at the keyboard to its arrival, for `count` keys pressed and released one at a time.
// Throws std::runtime_error if one does not arrive.
Samples measureKeys(stage::Typist& typist, ProbeWindow& window, std::size_t count);

}  // namespace bench
