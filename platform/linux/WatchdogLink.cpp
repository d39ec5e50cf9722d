#include "platform/linux/WatchdogLink.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>

extern char** environ;

namespace platform::linux_desktop {
namespace {

// Beside the running executable.
std::string watchdogPath() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : (self.parent_path() / watchdogProgram).string();
}

}  // namespace

WatchdogLink::WatchdogLink() {
  const FileDescriptor memory(memfd_create("varnolet-watchdog", MFD_CLOEXEC));
  void* shared = MAP_FAILED;
  if (memory.isOpen() && ftruncate(memory.get(), sizeof(WatchdogBoard)) == 0) {
    shared = mmap(nullptr, sizeof(WatchdogBoard), PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
  }
  if (shared == MAP_FAILED) {
    // Nobody will read it, but everything else can go on.
    shared = mmap(nullptr, sizeof(WatchdogBoard), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) throw std::bad_alloc();
    board_ = new (shared) WatchdogBoard{};
    return;
  }
  board_ = new (shared) WatchdogBoard{};
  start(memory.get());
}

WatchdogLink::~WatchdogLink() {
  pipe_ = FileDescriptor();
  if (process_ > 0) waitpid(process_, nullptr, 0);
  munmap(board_, sizeof(WatchdogBoard));
}

void WatchdogLink::start(int board) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return;
  const FileDescriptor reading(ends[0]);
  pipe_ = FileDescriptor(ends[1]);
  fcntl(pipe_.get(), F_SETFL, O_NONBLOCK);

  const std::string path = watchdogPath();
  std::string name = watchdogProgram;
  char* const arguments[] = {name.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // Through high numbers first: one of the two may have the other's place already.
  constexpr int aside = 100;
  posix_spawn_file_actions_adddup2(&actions, board, aside);
  posix_spawn_file_actions_adddup2(&actions, reading.get(), aside + 1);
  posix_spawn_file_actions_adddup2(&actions, aside, watchdogBoardDescriptor);
  posix_spawn_file_actions_adddup2(&actions, aside + 1, watchdogPipeDescriptor);
  posix_spawn_file_actions_addclose(&actions, aside);
  posix_spawn_file_actions_addclose(&actions, aside + 1);

  // A group of its own: what interrupts the guard from a terminal must not end the watchdog before the guard.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  if (posix_spawn(&process_, path.c_str(), &actions, &attributes, arguments, environ) != 0) process_ = 0;
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  // It may take our sockets, also where only ancestors may.
  if (process_ > 0) prctl(PR_SET_PTRACER, process_);
}

void WatchdogLink::watch(XcbConnection& connection) {
  board_->socket.store(connection.fileDescriptor(), std::memory_order_relaxed);
  const std::uint32_t window = xcb_generate_id(connection);
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, connection.root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  board_->resource.store(window, std::memory_order_relaxed);
}

void WatchdogLink::gateClosed() {
  beat();
  board_->isGateClosed.store(true, std::memory_order_release);
  const char wake = 0;
  if (pipe_.isOpen()) [[maybe_unused]]
    const auto written = write(pipe_.get(), &wake, 1);
}

}  // namespace platform::linux_desktop
