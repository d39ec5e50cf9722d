// Keys and input devices, by the numbers that the X server knows them by.
#pragma once

#include <bitset>
#include <cstdint>

namespace platform::linux_desktop {

using KeyCode = std::uint8_t;
using KeySet = std::bitset<256>;
using DeviceId = std::uint16_t;

}  // namespace platform::linux_desktop
