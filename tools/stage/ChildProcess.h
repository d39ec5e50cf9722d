// A program that runs beside the test and ends with it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/stage/Lines.h"

namespace stage {

using Environment = std::map<std::string, std::string>;

// Who has no special rights, as a number.
inline constexpr unsigned ordinaryUser = 65534;

// How a process ended: by its own exit code, or by a signal.
struct Ending {
  std::optional<int> exitCode;
  std::optional<int> signal;
  friend bool operator==(const Ending&, const Ending&) = default;
};
std::string describe(const Ending& ending);

// A child in a session of its own, with its own environment and nothing inherited but standard error where asked.
// It is killed, with all that it started, when this object or the test process goes away. Not thread-safe.
class ChildProcess {
 public:
  struct Options {
    Environment environment;
    // Which streams this object reads; what is not read goes to /dev/null.
    bool readOutput = false;
    bool readErrors = false;
    Lines::Listener onOutput{};
    // What the child gets as its descriptor 3, if anything; stays open here.
    int descriptor3 = -1;
    // Without the rights of the one who runs the test, where those are root's.
    bool isOrdinaryUser = false;
  };

  // Throws std::runtime_error if the program cannot be started.
  ChildProcess(const std::vector<std::string>& command, Options options);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  pid_t pid() const { return pid_; }
  // One line to the child's standard input.
  void tell(const std::string& line);
  void closeInput();
  void signal(int number) const;
  // True until its end was seen by ending().
  bool isRunning();
  // How it ended; absent if it has not within `limit`.
  std::optional<Ending> ending(std::chrono::milliseconds limit = patience);
  // What runs of its session: itself and what it started.
  std::vector<pid_t> processes() const;

  Lines& output() const { return *output_; }
  Lines& errors() const { return *errors_; }

 private:
  pid_t pid_ = -1;
  int input_ = -1;
  std::optional<Ending> ending_;
  std::unique_ptr<Lines> output_;
  std::unique_ptr<Lines> errors_;
};

// The environment that a child needs to find programs and libraries, and what sanitizers are told.
Environment bareEnvironment();

}  // namespace stage
