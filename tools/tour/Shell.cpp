#include "Shell.h"

#include "tools/stage/NotificationService.h"

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

}  // namespace

Shell::Shell(const VirtualDesktop& desktop)
    : notifications_(startNotificationService(desktop)), panel_(desktop, panelSettings) {
  colourRoot(desktop.connection());
}

}  // namespace demo
