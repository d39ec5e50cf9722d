#include "platform/linux/intent/ProcessStarts.h"

#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <string>

namespace platform::linux_desktop {
namespace {

// Ancestors further up have nothing to do with a window.
constexpr int mostAncestors = 32;

struct Origin {
  pid_t parent = 0;
  std::chrono::nanoseconds sinceBoot{};
};

std::chrono::nanoseconds timeOn(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::optional<Origin> originOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  // The name of the program comes second, in brackets, and may itself hold anything, brackets too.
  std::string text;
  std::getline(file, text, '\0');
  const auto end = text.rfind(')');
  if (end == std::string::npos) return std::nullopt;
  std::istringstream fields(text.substr(end + 1));
  constexpr int fieldsBetween = 17;  // the parent is field number 4, the start number 22
  std::string skipped;
  Origin origin;
  fields >> skipped >> origin.parent;
  for (int i = 0; i < fieldsBetween; ++i) fields >> skipped;
  std::int64_t ticks = 0;
  if (!(fields >> ticks) || ticks < 0 || ticks > std::numeric_limits<std::int32_t>::max() * std::int64_t{100}) {
    return std::nullopt;
  }
  origin.sinceBoot = std::chrono::nanoseconds(std::chrono::seconds(1)) / sysconf(_SC_CLK_TCK) * ticks;
  return origin;
}

}  // namespace

std::vector<Moment> startsOf(pid_t process, Moment earliest) {
  const Moment now = std::chrono::steady_clock::now();
  const auto nowSinceBoot = timeOn(CLOCK_BOOTTIME);
  std::vector<Moment> starts;
  for (int i = 0; i < mostAncestors && process > 1; ++i) {
    const auto origin = originOf(process);
    if (!origin) break;
    const Moment start = now - std::chrono::duration_cast<Moment::duration>(nowSinceBoot - origin->sinceBoot);
    if (start < earliest) break;
    starts.push_back(start);
    process = origin->parent;
  }
  return starts;
}

}  // namespace platform::linux_desktop
