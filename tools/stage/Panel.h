// The desktop's panel: a strip at the bottom of the screen with a tray.
#pragma once

#include <memory>
#include <string>

#include "tools/stage/Mouse.h"
#include "tools/stage/VirtualDesktop.h"

namespace stage {

class Panel {
 public:
  // What the tray shows of the program under test.
  enum class Icon { none, green, gray, orange };

  // Nothing but a tray.
  static const char bare[];

  // With these settings of tint2. Returns when there is a tray; throws std::runtime_error if none comes. It goes away
  // with this object.
  explicit Panel(const VirtualDesktop& desktop, const std::string& settings = bare);

  Icon icon() const;
  // Throws std::runtime_error if there is no icon.
  void clickIcon();

 private:
  struct Sight {
    Icon icon = Icon::none;
    Point place;
  };
  Sight look() const;

  const XConnection connection_;
  Mouse mouse_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace stage
