// The watchdog of the keyboards: a process of its own with a connection of its own, so that neither the death nor the
// standstill of the guard ever costs the user the keyboard. Started by the guard (WatchdogLink), which it outlives by
// one look at the keys.
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/KeyRecovery.h"
#include "platform/linux/WatchdogBoard.h"
#include "platform/linux/XcbConnection.h"

namespace {

using namespace platform::linux_desktop;
using namespace std::chrono_literals;

// How long the guard may stand still with the gate closed, and how often that is checked.
constexpr std::chrono::nanoseconds patience = 500ms;
constexpr std::chrono::milliseconds checkInterval = 100ms;
constexpr std::chrono::milliseconds longestDisconnection = 200ms;

class Watchdog {
 public:
  Watchdog(const WatchdogBoard& board, XcbConnection& connection, pid_t guard)
      : board_(board), connection_(connection), handle_(static_cast<int>(syscall(SYS_pidfd_open, guard, 0))) {}

  // Returns when the guard is gone and its keys are released, or when the server is gone.
  void run() {
    for (;;) {
      pollfd sources[] = {{watchdogStreamDescriptor, POLLIN, 0}, {connection_.fileDescriptor(), POLLIN, 0}};
      const bool isGateClosed = board_.isGateClosed.load(std::memory_order_acquire);
      poll(sources, 2, isGateClosed ? static_cast<int>(checkInterval.count()) : -1);
      if (sources[0].revents != 0 && !guardIsAlive()) {
        awaitDisconnection();
        releaseStrandedKeys(connection_, board_.emittedKeys());
        return;
      }
      if (sources[1].revents != 0) discardEvents();
      if (connection_.isLost()) return;
      if (isGateClosed) checkBeat();
    }
  }

 private:
  // Reads the wake-up calls. The end of the stream is the end of the guard.
  static bool guardIsAlive() {
    char calls[64];
    return read(watchdogStreamDescriptor, calls, sizeof calls) != 0;
  }

  void discardEvents() {
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
    }
  }

  // The keyboards are back among the others once the server has noticed that the guard's connection is gone.
  void awaitDisconnection() {
    const std::uint32_t resource = board_.resource.load(std::memory_order_relaxed);
    const auto end = std::chrono::steady_clock::now() + longestDisconnection;
    while (resource != XCB_NONE && std::chrono::steady_clock::now() < end &&
           replyTo(connection_, xcb_get_geometry_reply, xcb_get_geometry(connection_, resource))) {
      std::this_thread::sleep_for(1ms);
    }
  }

  void checkBeat() {
    const std::uint64_t beat = board_.beat.load(std::memory_order_acquire);
    const std::uint64_t now = monotonicNanoseconds();
    const bool isOverdue = now > beat && std::chrono::nanoseconds(now - beat) > patience;
    if (!isOverdue || beat == beatAtRescue_ || !board_.isGateClosed.load(std::memory_order_acquire)) return;
    beatAtRescue_ = beat;
    cutConnection();
    awaitDisconnection();
    releaseStrandedKeys(connection_, board_.emittedKeys());
  }

  // Ends the guard's connection; the server then frees what it had grabbed. Shutting its socket down works even while
  // it has the server grabbed, when the server would not listen to us.
  void cutConnection() {
    const int number = board_.socket.load(std::memory_order_relaxed);
    const FileDescriptor socket(static_cast<int>(syscall(SYS_pidfd_getfd, handle_.get(), number, 0)));
    if (!socket.isOpen() || shutdown(socket.get(), SHUT_RDWR) != 0) {
      xcb_kill_client(connection_, board_.resource.load(std::memory_order_relaxed));
      xcb_flush(connection_);
    }
  }

  const WatchdogBoard& board_;
  XcbConnection& connection_;
  FileDescriptor handle_;
  std::uint64_t beatAtRescue_ = 0;
};

}  // namespace

int main() {
  // What ends a whole session must not end the watchdog before the guard. The end of the guard does.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_IGN);
  const pid_t guard = getppid();
  void* shared = mmap(nullptr, sizeof(WatchdogBoard), PROT_READ, MAP_SHARED, watchdogBoardDescriptor, 0);
  if (shared == MAP_FAILED) return 1;
  const auto connection = XcbConnection::open();
  if (!connection) return 1;
  Watchdog(*static_cast<const WatchdogBoard*>(shared), *connection, guard).run();
  return 0;
}
