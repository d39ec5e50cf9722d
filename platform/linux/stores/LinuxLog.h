// The log: Qt's logging categories switch it, standard error takes it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Log.h"
#include "platform/Tasks.h"

namespace platform::linux_desktop {

// The categories are app.varnolet.focus and so on, with debug messages off unless QT_LOGGING_RULES or a logging
// configuration file of Qt's turns them on. While it lives it decides the levels in enabledLogLevels.
//
// A message becomes one line of `descriptor`, written by a thread of its own: whoever logs never waits for a terminal
// or a pipe. If those do not keep up, messages are dropped and their number is written instead.
class LinuxLog : public LogSink {
 public:
  // Made once the application object is there. Keeps a duplicate of `descriptor`, which stays the caller's.
  LinuxLog(std::string subsystem, int descriptor);
  // Gives the thread a second to write what waits.
  ~LinuxLog() override;

  void write(LogCategory category, LogLevel level, const std::string& message) override;

 private:
  struct Line {
    Date date;
    LogCategory category;
    LogLevel level;
    std::string message;
  };
  // Shared with the thread, which a terminal may keep for longer than this object lives.
  struct Queue {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Line> lines;
    std::uint64_t dropped = 0;
    bool ending = false;
    bool ended = false;
  };

  static void writeLines(Queue& queue, const std::string& subsystem, int descriptor);
  static std::string formatted(const Line& line, const std::string& subsystem);

  std::shared_ptr<Queue> queue_ = std::make_shared<Queue>();
  std::thread thread_;
};

}  // namespace platform::linux_desktop
