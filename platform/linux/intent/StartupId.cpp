#include "platform/linux/intent/StartupId.h"

#include <charconv>

namespace platform::linux_desktop {

std::optional<std::uint32_t> timeInStartupId(std::string_view id) {
  constexpr std::string_view mark = "_TIME";
  const auto place = id.rfind(mark);
  if (place == std::string_view::npos) return std::nullopt;
  id.remove_prefix(place + mark.size());
  std::uint32_t time = 0;
  const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), time);
  if (error != std::errc() || end == id.data() || time == 0) return std::nullopt;
  return time;
}

}  // namespace platform::linux_desktop
