#include "Shell.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "tests/desktop/stage/Waiting.h"

namespace demo {
namespace {

using namespace stage;

constexpr char panelSettings[] = R"(panel_items = TSC
panel_size = 100% 32
panel_position = bottom center horizontal
panel_padding = 6 0 8
rounded = 0
background_color = #26292e 100
taskbar_mode = single_desktop
task_maximum_size = 180 32
task_font = sans 9
task_font_color = #e6e6e6 100
systray_padding = 4 4 8
systray_icon_size = 20
time1_format = %H:%M
time1_font = sans 9
clock_font_color = #e6e6e6 100
)";

void colourRoot(const XConnection& connection) {
  constexpr std::uint32_t dusk = 0x3b5068;
  xcb_change_window_attributes(connection, connection.root(), XCB_CW_BACK_PIXEL, &dusk);
  xcb_clear_area(connection, 0, connection.root(), 0, 0, 0, 0);
  xcb_flush(connection);
}

bool hasTray(const XConnection& connection) {
  xcb_get_selection_owner_reply_t* owner = xcb_get_selection_owner_reply(
      connection, xcb_get_selection_owner(connection, connection.atom("_NET_SYSTEM_TRAY_S0")), nullptr);
  const bool isThere = owner && owner->owner != XCB_WINDOW_NONE;
  std::free(owner);  // NOLINT(cppcoreguidelines-no-malloc): XCB allocates it so
  return isThere;
}

}  // namespace

Shell::Shell(const VirtualDesktop& desktop) {
  colourRoot(desktop.connection());
  const ChildProcess::Options options{desktop.environment()};
  notifications_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"/usr/lib/notification-daemon/notification-daemon"}, options);
  const auto settings = desktop.home() / "panel";
  std::ofstream(settings) << panelSettings;
  panel_ = std::make_unique<ChildProcess>(std::vector<std::string>{"tint2", "-c", settings.string()}, options);
  if (!eventually([&] { return hasTray(desktop.connection()); })) throw std::runtime_error("the panel has no tray");
}

}  // namespace demo
