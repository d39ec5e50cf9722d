#include "tools/stage/ChildProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace stage {
namespace {

struct Pipe {
  int read = -1;
  int write = -1;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {ends[0], ends[1]};
}

std::vector<char*> pointersTo(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  pointers.reserve(strings.size() + 1);
  for (auto& string : strings) pointers.push_back(string.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

std::string describe(const Ending& ending) {
  if (ending.signal) return "ended by signal " + std::to_string(*ending.signal);
  return "ended with exit code " + std::to_string(ending.exitCode.value_or(-1));
}

ChildProcess::ChildProcess(const std::vector<std::string>& command, Options options) {
  // Everything that allocates happens before the fork: other threads of this process may hold the allocator's lock.
  std::vector<std::string> arguments = command;
  std::vector<std::string> variables;
  for (const auto& [name, value] : options.environment) variables.emplace_back(name).append("=").append(value);
  const auto argv = pointersTo(arguments);
  const auto envp = pointersTo(variables);
  ::signal(SIGPIPE, SIG_IGN);  // a child that died is an error of tell(), not the end of the test
  const Pipe input = makePipe();
  const Pipe output = makePipe();
  const Pipe errors = makePipe();
  const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  const pid_t parent = ::getpid();

  pid_ = ::fork();
  if (pid_ == 0) {
    ::setsid();
    ::signal(SIGPIPE, SIG_DFL);
    if (options.isOrdinaryUser && ::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(ordinaryUser) != 0 || ::setuid(ordinaryUser) != 0)) {
      ::_exit(127);
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    ::dup2(input.read, STDIN_FILENO);
    ::dup2(options.readOutput ? output.write : nothing, STDOUT_FILENO);
    ::dup2(options.readErrors ? errors.write : nothing, STDERR_FILENO);
    if (options.descriptor3 == 3) {
      ::fcntl(3, F_SETFD, 0);
    } else if (options.descriptor3 >= 0) {
      ::dup2(options.descriptor3, 3);
    }
    ::execvpe(argv[0], argv.data(), envp.data());
    ::_exit(127);
  }
  ::close(nothing);
  ::close(input.read);
  ::close(output.write);
  ::close(errors.write);
  input_ = input.write;
  if (pid_ < 0) throw std::runtime_error("cannot start " + command.front());
  output_ = std::make_unique<Lines>(output.read, std::move(options.onOutput));
  errors_ = std::make_unique<Lines>(errors.read);
}

ChildProcess::~ChildProcess() {
  for (const pid_t process : processes()) ::kill(process, SIGKILL);
  if (!ending_) ::waitpid(pid_, nullptr, 0);
  closeInput();
}

void ChildProcess::tell(const std::string& line) {
  const std::string bytes = line + '\n';
  std::size_t written = 0;
  while (written < bytes.size()) {
    const auto size = ::write(input_, bytes.data() + written, bytes.size() - written);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) throw std::runtime_error("the process listens no more");
    written += static_cast<std::size_t>(size);
  }
}

void ChildProcess::closeInput() {
  if (input_ >= 0) ::close(std::exchange(input_, -1));
}

void ChildProcess::signal(int number) const {
  if (!ending_) ::kill(pid_, number);
}

bool ChildProcess::isRunning() {
  return !ending(std::chrono::milliseconds(0));
}

std::optional<Ending> ChildProcess::ending(std::chrono::milliseconds limit) {
  const auto look = [this] {
    if (ending_) return true;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) return false;
    ending_.emplace();
    if (WIFSIGNALED(status)) {
      ending_->signal = WTERMSIG(status);
    } else {
      ending_->exitCode = WEXITSTATUS(status);
    }
    return true;
  };
  // What has ended by now is seen even with no time to wait.
  if (!look()) (void)eventually(look, limit);
  return ending_;
}

std::vector<pid_t> ChildProcess::processes() const {
  std::vector<pid_t> processes;
  std::error_code gone;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", gone)) {
    std::ifstream file(entry.path() / "stat");
    std::string text;
    if (!std::getline(file, text)) continue;
    // The name in parentheses may hold anything; after it come state, parent, process group and session.
    std::istringstream number(text);
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    pid_t process = 0;
    char state = 0;
    pid_t parent = 0;
    pid_t group = 0;
    pid_t session = 0;
    if (!(number >> process) || !(fields >> state >> parent >> group >> session)) continue;
    if (session == pid_ && state != 'Z') processes.push_back(process);
  }
  return processes;
}

Environment bareEnvironment() {
  Environment environment;
  for (const char* name : {"PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name)) environment[name] = value;  // NOLINT(concurrency-mt-unsafe)
  }
  environment["LANG"] = "C.UTF-8";
  return environment;
}

}  // namespace stage
