// What a desktop has besides its window manager: a panel with a tray, and a notification service.
#pragma once

#include <memory>

#include "tools/stage/Panel.h"
#include "tools/stage/VirtualDesktop.h"

namespace demo {

class Shell {
 public:
  // Returns when both are there; throws std::runtime_error where one does not come.
  explicit Shell(const stage::VirtualDesktop& desktop);

 private:
  std::unique_ptr<stage::ChildProcess> notifications_;
  stage::Panel panel_;
};

}  // namespace demo
