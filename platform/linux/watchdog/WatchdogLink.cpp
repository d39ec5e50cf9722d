#include "platform/linux/watchdog/WatchdogLink.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <thread>

extern char** environ;

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds longestFarewell = 200ms;
constexpr std::chrono::milliseconds longestSilence = 1000ms;
constexpr std::chrono::milliseconds callInterval = 250ms;

// Beside the running executable.
std::string watchdogPath() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : (self.parent_path() / watchdogProgram).string();
}

}  // namespace

WatchdogLink::WatchdogLink() : memory_(memfd_create("varnolet-watchdog", MFD_CLOEXEC)) {
  void* shared = MAP_FAILED;
  if (memory_.isOpen() && ftruncate(memory_.get(), sizeof(WatchdogBoard)) == 0) {
    shared = mmap(nullptr, sizeof(WatchdogBoard), PROT_READ | PROT_WRITE, MAP_SHARED, memory_.get(), 0);
  }
  if (shared == MAP_FAILED) {
    // Nobody will read it, but everything else can go on.
    memory_ = FileDescriptor();
    shared = mmap(nullptr, sizeof(WatchdogBoard), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) throw std::bad_alloc();
  }
  board_ = new (shared) WatchdogBoard{};
  start();
}

WatchdogLink::~WatchdogLink() {
  end(longestFarewell);
  munmap(board_, sizeof(WatchdogBoard));
}

// It ends by itself when it hears that nobody is left. One that does not is not worth waiting for.
void WatchdogLink::end(std::chrono::milliseconds longestWait) {
  stream_ = FileDescriptor();
  if (process_ <= 0) return;
  const auto patience = Clock::now() + longestWait;
  while (waitpid(process_, nullptr, WNOHANG) == 0) {
    if (Clock::now() >= patience) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
      break;
    }
    std::this_thread::sleep_for(1ms);
  }
  process_ = 0;
}

void WatchdogLink::start() {
  int ends[2];
  if (!memory_.isOpen() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) return;
  stream_ = FileDescriptor(ends[1]);
  const FileDescriptor theirs(ends[0]);
  // Above the places that they get in the new process: one of them may have the other's place already.
  constexpr int aside = 100;
  const FileDescriptor board(fcntl(memory_.get(), F_DUPFD_CLOEXEC, aside));
  const FileDescriptor stream(fcntl(theirs.get(), F_DUPFD_CLOEXEC, aside));

  const std::string path = watchdogPath();
  std::string name = watchdogProgram;
  char* const arguments[] = {name.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, board.get(), watchdogBoardDescriptor);
  posix_spawn_file_actions_adddup2(&actions, stream.get(), watchdogStreamDescriptor);

  // A group of its own: what interrupts the guard from a terminal must not end the watchdog before the guard.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  if (posix_spawn(&process_, path.c_str(), &actions, &attributes, arguments, environ) != 0) process_ = 0;
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  unanswered_.reset();
  if (process_ > 0) {
    call(watched_.get());
  } else {
    stream_ = FileDescriptor();
    isAnswering_ = true;
  }
}

void WatchdogLink::replace() {
  end(0ms);
  start();
}

void WatchdogLink::call(int descriptor) {
  char byte = 0;
  iovec bytes{&byte, 1};
  msghdr message{};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)];
  if (descriptor >= 0) {
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr& header = *CMSG_FIRSTHDR(&message);
    header.cmsg_level = SOL_SOCKET;
    header.cmsg_type = SCM_RIGHTS;
    header.cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(&header), &descriptor, sizeof descriptor);
  }
  sendmsg(stream_.get(), &message, MSG_NOSIGNAL);
  lastCall_ = Clock::now();
  if (!unanswered_) unanswered_ = lastCall_;
}

void WatchdogLink::watch(XcbConnection& connection) {
  const std::uint32_t window = xcb_generate_id(connection);
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, connection.root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  board_->resource.store(window, std::memory_order_relaxed);
  watched_ = FileDescriptor(fcntl(connection.fileDescriptor(), F_DUPFD_CLOEXEC, 0));
  if (stream_.isOpen()) call(watched_.get());
}

bool WatchdogLink::isAnswering() {
  replaceIfSilent();
  return isAnswering_;
}

void WatchdogLink::gateClosed() {
  beat();
  board_->isHolding.store(true, std::memory_order_release);
  if (stream_.isOpen()) call();
}

void WatchdogLink::grabBegan(xcb_window_t window) {
  board_->grabWindow.store(window, std::memory_order_relaxed);
  gateClosed();
}

void WatchdogLink::beat() {
  board_->beat.store(monotonicNanoseconds(), std::memory_order_release);
  if (!board_->isHolding.load(std::memory_order_relaxed) || !stream_.isOpen()) return;
  replaceIfSilent();
  if (!unanswered_ && Clock::now() - lastCall_ >= callInterval) call();
}

void WatchdogLink::replaceIfSilent() {
  takeAnswers();
  if (!unanswered_ || Clock::now() - *unanswered_ < longestSilence) return;
  isAnswering_ = false;
  replace();
}

// The end of the stream is the end of the watchdog.
void WatchdogLink::takeAnswers() {
  if (!unanswered_) return;
  char answers[64];
  const ssize_t count = recv(stream_.get(), answers, sizeof answers, MSG_DONTWAIT);
  if (count > 0) {
    unanswered_.reset();
    isAnswering_ = true;
  } else if (count == 0 || errno == ECONNRESET) {
    replace();
  }
}

}  // namespace platform::linux_desktop
