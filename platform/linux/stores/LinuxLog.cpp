#include "platform/linux/stores/LinuxLog.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <QLoggingCategory>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/LogText.h"
#include "platform/linux/threads/WorkerThreads.h"

namespace platform::linux_desktop {
namespace {

constexpr std::size_t mostWaitingLines = 4096;
constexpr auto longestFlush = std::chrono::seconds(1);

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

std::uint8_t levelsThatAreOn(LogCategory category) {
  const std::string name = "app.varnolet." + std::string(platform::nameOf(category));
  const QLoggingCategory switches(name.c_str(), QtInfoMsg);
  std::uint8_t levels = 0;
  const auto add = [&](bool isOn, LogLevel level) {
    if (isOn) levels = static_cast<std::uint8_t>(levels | static_cast<std::uint8_t>(level));
  };
  add(switches.isDebugEnabled(), LogLevel::debug);
  add(switches.isInfoEnabled(), LogLevel::info);
  add(switches.isWarningEnabled(), LogLevel::standard);
  add(switches.isCriticalEnabled(), LogLevel::error);
  return levels;
}

std::string timeOfDay(Date date) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(milliseconds));
  return text.data();
}

void writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;  // nobody reads any more, and there is nowhere to say so
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// A signal is for other threads, and a pipe that nobody reads is no reason to die of SIGPIPE.
void blockSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

LinuxLog::LinuxLog(std::string subsystem, int descriptor) {
  // The thread may have to be left behind: what it writes to must not become somebody else's file under it.
  FileDescriptor own(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
  thread_ = std::thread([queue = queue_, subsystem = std::move(subsystem), own = std::move(own)] {
    nameThisThread("log");
    blockSignals();
    writeLines(*queue, subsystem, own.get());
  });
  for (std::size_t i = 0; i < logCategoryCount; ++i) {
    enabledLogLevels[i].store(levelsThatAreOn(static_cast<LogCategory>(i)), std::memory_order_relaxed);
  }
}

LinuxLog::~LinuxLog() {
  for (auto& levels : enabledLogLevels) levels.store(0, std::memory_order_relaxed);
  std::unique_lock lock(queue_->mutex);
  queue_->ending = true;
  queue_->changed.notify_all();
  const bool ended = queue_->changed.wait_for(lock, longestFlush, [this] { return queue_->ended; });
  lock.unlock();
  if (ended) {
    thread_.join();
  } else {
    thread_.detach();
  }
}

void LinuxLog::write(LogCategory category, LogLevel level, const std::string& message) {
  const Date date = std::chrono::system_clock::now();
  {
    const std::lock_guard lock(queue_->mutex);
    if (queue_->lines.size() >= mostWaitingLines) {
      ++queue_->dropped;
      return;
    }
    queue_->lines.push_back({date, category, level, message});
  }
  queue_->changed.notify_one();
}

void LinuxLog::writeLines(Queue& queue, const std::string& subsystem, int descriptor) {
  std::unique_lock lock(queue.mutex);
  for (;;) {
    queue.changed.wait(lock, [&] { return queue.ending || !queue.lines.empty(); });
    if (queue.lines.empty()) break;
    std::deque<Line> lines = std::exchange(queue.lines, {});
    const std::uint64_t dropped = std::exchange(queue.dropped, 0);
    lock.unlock();
    for (const Line& line : lines) writeAll(descriptor, formatted(line, subsystem));
    if (dropped > 0) writeAll(descriptor, subsystem + ": " + std::to_string(dropped) + " messages were dropped\n");
    lock.lock();
  }
  queue.ended = true;
  queue.changed.notify_all();
}

std::string LinuxLog::formatted(const Line& line, const std::string& subsystem) {
  std::string text = timeOfDay(line.date) + ' ' + subsystem + " [";
  text += platform::nameOf(line.category);
  text += "] ";
  text += nameOf(line.level);
  text += ": ";
  text += singleLine(line.message);
  text += '\n';
  return text;
}

}  // namespace platform::linux_desktop
