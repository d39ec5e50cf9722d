// The identifiers that launchers give to what they start.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace platform::linux_desktop {

// The server time at the end of one: 4711 of "launcher-host-1_TIME4711". Absent where there is none, and for 0.
std::optional<std::uint32_t> timeInStartupId(std::string_view id);

}  // namespace platform::linux_desktop
