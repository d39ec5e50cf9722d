// Points in time as text: ISO 8601 internet date-time. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Tasks.h"

namespace varnoletKit {

// In UTC, the parts of a second dropped: 2026-03-01T14:05:09Z.
std::string iso8601String(platform::Date date);

// Reads that form, with Z or an offset (+01:00) as time-zone designator. Absent for anything else: parts of a second,
// days and times that no calendar has, times that the clock cannot count (before 1677, after 2262).
std::optional<platform::Date> dateFromISO8601(std::string_view text);

}  // namespace varnoletKit
