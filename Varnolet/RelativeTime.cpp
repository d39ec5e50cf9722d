#include "Varnolet/RelativeTime.h"

#include <chrono>
#include <cstdint>

namespace varnolet {

std::string relativeTime(platform::Date then, platform::Date now) {
  const std::int64_t seconds = std::chrono::duration_cast<std::chrono::seconds>(now - then).count();
  if (seconds < 60) return "just now";
  if (seconds < 120) return "1 min ago";
  if (seconds < 3600) return std::to_string(seconds / 60) + " min ago";
  if (seconds < 7200) return "1 hr ago";
  return std::to_string(seconds / 3600) + " hrs ago";
}

}  // namespace varnolet
