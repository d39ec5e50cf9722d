// Threads that take turns: of the main thread and all workers exactly one runs at any time.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/Tasks.h"

namespace platform::simulated {

using Condition = std::function<bool()>;

// Says what cannot go on, and ends the process.
[[noreturn]] void failLoudly(const std::string& what);

// Thrown through a worker's job to end it when the desktop goes away.
struct DesktopGone {};

class Worker;

// Who runs. The main thread hands the baton to one worker and gets it back from that worker.
class Baton {
 public:
  // Main thread. Returns when the worker has handed the baton back.
  void giveTo(Worker& worker);

 private:
  friend class Worker;

  std::mutex mutex_;
  std::condition_variable changed_;
  Worker* holder_ = nullptr;  // null: the main thread
};

// A thread that runs one job after another, and may pause inside one. Everything but pause() and current() is for a
// thread that has the baton, while the worker has not.
class Worker {
 public:
  explicit Worker(Baton& baton);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  // The worker must be idle.
  ~Worker();

  // The worker whose thread this is; null on any other thread.
  static Worker* current();

  // Main thread. Runs `job` until it ends or pauses.
  void start(Work job);
  // Main thread. Runs a paused job on until it ends or pauses again.
  void resume() { baton_.giveTo(*this); }

  bool isIdle() const { return state_ == State::idle; }
  bool isPaused() const { return state_ == State::paused; }
  // Whether what the paused job waits for has come.
  bool mayGoOn() const { return mayGoOn_(); }
  // When, in uptime nanoseconds, it goes on at the latest; absent: it does not go by time.
  std::optional<std::uint64_t> deadline() const { return deadline_; }

  // This worker's own thread. Gives the others their turns until it is resumed.
  void pause(Condition mayGoOn, std::optional<std::uint64_t> deadline);

 private:
  enum class State : std::uint8_t { idle, running, paused };

  void main();
  void handBack(State state);
  // True for a turn, false when the worker is to end.
  bool waitForTurn();

  Baton& baton_;
  State state_ = State::idle;
  bool ending_ = false;  // guarded by the baton's mutex
  Work job_;
  Condition mayGoOn_;
  std::optional<std::uint64_t> deadline_;
  std::thread thread_;
};

}  // namespace platform::simulated
