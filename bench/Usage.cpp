#include "Usage.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace bench {
namespace {

using std::filesystem::path;

// The number after "name:" in a file of /proc, 0 if there is none.
std::uint64_t field(const path& file, std::string_view name) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    if (!line.starts_with(name)) continue;
    std::istringstream rest(line.substr(name.size()));
    std::uint64_t value = 0;
    rest >> value;
    return value;
  }
  return 0;
}

std::uint64_t firstNumber(const path& file) {
  std::ifstream stream(file);
  std::uint64_t value = 0;
  stream >> value;
  return value;
}

}  // namespace

Usage usageOf(const std::vector<pid_t>& processes) {
  Usage usage;
  std::error_code gone;
  for (const pid_t process : processes) {
    const path folder = path("/proc") / std::to_string(process);
    usage.residentKilobytes += field(folder / "status", "VmRSS:");
    for (const auto& thread : std::filesystem::directory_iterator(folder / "task", gone)) {
      usage.wakeups += field(thread.path() / "status", "voluntary_ctxt_switches:");
      usage.cpuNanoseconds += firstNumber(thread.path() / "schedstat");
    }
  }
  return usage;
}

}  // namespace bench
