// Keeps what the program logs.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/Log.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {

class LogRecorder final : public LogSink {
 public:
  // All levels are on while it lives, none afterwards.
  LogRecorder();
  ~LogRecorder() override;

  std::vector<LogLine> lines() const;
  void clear();

  // LogSink
  void write(LogCategory category, LogLevel level, const std::string& message) override;

 private:
  mutable std::mutex mutex_;
  std::vector<LogLine> lines_;
};

}  // namespace platform::simulated
