// Days of the user's calendar.
#pragma once

#include <optional>

#include "platform/Tasks.h"

namespace platform {

// The same local time of day `days` calendar days later (earlier if negative), daylight-saving changes respected.
// Absent if the calendar has no such date. Any thread.
std::optional<Date> dateByAddingDays(std::int64_t days, Date date);

}  // namespace platform
