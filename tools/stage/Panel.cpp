#include "tools/stage/Panel.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "tools/stage/Waiting.h"

namespace stage {
namespace {

constexpr std::uint16_t height = 32;
// The colours of the icon, without what the edges mix them with.
constexpr std::array<std::pair<std::uint32_t, Panel::Icon>, 3> colours{
    {{0x2fb350, Panel::Icon::green}, {0x8e8e93, Panel::Icon::gray}, {0xff8c00, Panel::Icon::orange}}};
// Fewer pixels of a colour are a part of something else.
constexpr int leastPixels = 30;

bool hasTray(const XConnection& connection) {
  const auto owner = answer(connection, xcb_get_selection_owner_reply,
                            xcb_get_selection_owner(connection, connection.atom("_NET_SYSTEM_TRAY_S0")));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

}  // namespace

const char Panel::bare[] = R"(panel_items = S
panel_size = 100% 32
panel_layer = top
strut_policy = follow_size
panel_position = bottom center horizontal
systray_padding = 4 4 4
systray_icon_size = 24
)";

Panel::Panel(const VirtualDesktop& desktop, const std::string& settings)
    : connection_(desktop.display()), mouse_(desktop.display()) {
  const auto file = desktop.home() / "panel";
  std::ofstream(file) << settings;
  process_ = std::make_unique<ChildProcess>(std::vector<std::string>{"tint2", "-c", file.string()},
                                            ChildProcess::Options{desktop.environment()});
  if (!eventually([this] { return hasTray(connection_); })) throw std::runtime_error("the panel has no tray");
}

Panel::Icon Panel::icon() const {
  return look().icon;
}

void Panel::clickIcon() {
  const auto sight = look();
  if (sight.icon == Icon::none) throw std::runtime_error("there is no icon to click");
  mouse_.click(sight.place);
}

Panel::Sight Panel::look() const {
  const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  const auto width = screen->width_in_pixels;
  const auto top = static_cast<std::int16_t>(screen->height_in_pixels - height);
  const auto image = answer(
      connection_, xcb_get_image_reply,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, top, width, height, ~std::uint32_t{0}));
  if (!image) return {};
  for (const auto& [colour, icon] : colours) {
    int count = 0;
    int sumX = 0;
    int sumY = 0;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, xcb_get_image_data(image.get()) + std::ptrdiff_t{4} * (y * width + x), sizeof pixel);
        if ((pixel & 0xffffff) != colour) continue;
        ++count;
        sumX += x;
        sumY += y;
      }
    }
    if (count < leastPixels) continue;
    return {icon, {static_cast<std::int16_t>(sumX / count), static_cast<std::int16_t>(top + sumY / count)}};
  }
  return {};
}

}  // namespace stage
