#include "platform/linux/applications/AttentionMarks.h"

#include "platform/linux/x11/WindowManager.h"
#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {

void AttentionMarks::demandFor(xcb_window_t window) {
  if (window == XCB_WINDOW_NONE || marked_.contains(window)) return;
  std::erase_if(marked_, [this](xcb_window_t marked) { return !windowExists(connection_, marked); });
  if (!windowExists(connection_, window)) return;
  marked_.insert(window);
  requestAttention(connection_, window, true);
}

// Some window managers leave the mark on a window that has the focus.
void AttentionMarks::noteFront(xcb_window_t window) {
  if (marked_.erase(window) != 0) requestAttention(connection_, window, false);
}

}  // namespace platform::linux_desktop
