#include "platform/NSCalendar.h"

#include <ctime>
#include <limits>

namespace platform {

std::optional<Date> dateByAddingDays(std::int64_t days, Date date) {
  constexpr std::int64_t furthest = 365LL * 10'000;  // days; beyond it no calendar time is kept exactly
  if (days < -furthest || days > furthest) return std::nullopt;

  const auto wholeSeconds = std::chrono::floor<std::chrono::seconds>(date);
  const std::time_t start = std::chrono::system_clock::to_time_t(wholeSeconds);
  std::tm local{};
  if (!localtime_r(&start, &local)) return std::nullopt;
  local.tm_mday += static_cast<int>(days);
  local.tm_isdst = -1;  // let the calendar find out whether daylight saving holds on that day
  const std::time_t shifted = std::mktime(&local);
  if (shifted == static_cast<std::time_t>(-1)) return std::nullopt;

  // Far dates lie outside of what the clock's nanoseconds can count.
  constexpr std::time_t limit = std::numeric_limits<std::int64_t>::max() / 1'000'000'000;
  if (shifted <= -limit || shifted >= limit) return std::nullopt;
  return std::chrono::system_clock::from_time_t(shifted) + (date - wholeSeconds);
}

}  // namespace platform
