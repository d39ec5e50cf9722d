#include "platform/simulated/LogRecorder.h"

#include <string_view>

namespace platform::simulated {
namespace {

constexpr std::uint8_t everyLevel =
    static_cast<std::uint8_t>(LogLevel::debug) | static_cast<std::uint8_t>(LogLevel::info) |
    static_cast<std::uint8_t>(LogLevel::standard) | static_cast<std::uint8_t>(LogLevel::error);

std::string_view nameOf(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "debug";
    case LogLevel::info:
      return "info";
    case LogLevel::standard:
      return "default";
    case LogLevel::error:
      return "error";
  }
  return "";
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
  return stream << platform::nameOf(line.category) << ' ' << nameOf(line.level) << ": " << line.message;
}

LogRecorder::LogRecorder() {
  for (auto& levels : enabledLogLevels) levels = everyLevel;
}

LogRecorder::~LogRecorder() {
  for (auto& levels : enabledLogLevels) levels = 0;
}

std::vector<LogLine> LogRecorder::lines() const {
  const std::lock_guard lock(mutex_);
  return lines_;
}

void LogRecorder::clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
}

void LogRecorder::write(LogCategory category, LogLevel level, const std::string& message) {
  const std::lock_guard lock(mutex_);
  lines_.push_back({category, level, message});
}

}  // namespace platform::simulated
