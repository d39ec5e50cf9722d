// The watchdog of the keyboards: a process of its own with a connection of its own, so that neither the death nor the
// standstill of the guard ever costs the user the keyboard. Started by the guard (WatchdogLink), which it outlives by
// one look at the keys.
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/watchdog/KeyRecovery.h"
#include "platform/linux/watchdog/WatchdogBoard.h"
#include "platform/linux/x11/XcbConnection.h"

namespace {

using namespace platform::linux_desktop;
using namespace std::chrono_literals;

// How long the guard may stand still while it holds keys, and how often that is checked.
constexpr std::chrono::nanoseconds patience = 500ms;
constexpr std::chrono::milliseconds checkInterval = 100ms;
constexpr std::chrono::milliseconds longestDisconnection = 200ms;

class Watchdog {
 public:
  Watchdog(const WatchdogBoard& board, XcbConnection& connection) : board_(board), connection_(connection) {}

  // Returns when the guard is gone and its keys are released, or when the server is gone.
  void run() {
    answer();
    for (;;) {
      pollfd sources[] = {{watchdogStreamDescriptor, POLLIN, 0}, {connection_.fileDescriptor(), POLLIN, 0}};
      const bool isHolding = board_.isHolding.load(std::memory_order_acquire);
      poll(sources, 2, isHolding ? static_cast<int>(checkInterval.count()) : -1);
      if (sources[0].revents != 0 && !guardIsAlive()) {
        freeKeyboards();
        return;
      }
      if (sources[1].revents != 0) discardEvents();
      if (connection_.isLost()) return;
      if (isHolding) checkBeat();
    }
  }

 private:
  // Reads the calls, and takes the connection that may come with one. The end of the stream is the end of the guard.
  bool guardIsAlive() {
    char calls[64];
    iovec bytes{calls, sizeof calls};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t count = recvmsg(watchdogStreamDescriptor, &message, MSG_CMSG_CLOEXEC);
    if (const cmsghdr* header = CMSG_FIRSTHDR(&message); header && header->cmsg_type == SCM_RIGHTS) {
      int descriptor = -1;
      std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
      socket_ = FileDescriptor(descriptor);
    }
    if (count > 0) answer();
    return count != 0;
  }

  static void answer() { send(watchdogStreamDescriptor, "", 1, MSG_NOSIGNAL | MSG_DONTWAIT); }

  void discardEvents() {
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
    }
  }

  // The keyboards are back among the others once the server has noticed that the guard's connection is gone.
  void awaitDisconnection() {
    const std::uint32_t resource = board_.resource.load(std::memory_order_relaxed);
    const auto end = std::chrono::steady_clock::now() + longestDisconnection;
    while (std::chrono::steady_clock::now() < end &&
           replyTo(connection_, xcb_get_geometry_reply, xcb_get_geometry(connection_, resource))) {
      std::this_thread::sleep_for(1ms);
    }
  }

  void checkBeat() {
    const std::uint64_t beat = board_.beat.load(std::memory_order_acquire);
    const std::uint64_t now = monotonicNanoseconds();
    const bool isOverdue = now > beat && std::chrono::nanoseconds(now - beat) > patience;
    if (!isOverdue || beat == beatAtRescue_ || !board_.isHolding.load(std::memory_order_acquire)) return;
    beatAtRescue_ = beat;
    if (const xcb_window_t window = board_.grabWindow.load(std::memory_order_relaxed); window != XCB_WINDOW_NONE) {
      endGrabOf(window);
    } else {
      freeKeyboards();
    }
  }

  // No grab outlasts the sight of its window.
  void endGrabOf(xcb_window_t window) {
    xcb_unmap_window(connection_, window);
    xcb_flush(connection_);
  }

  // Where a window grabs, there is no connection to wait for, and no key of ours is down.
  void freeKeyboards() {
    if (board_.resource.load(std::memory_order_relaxed) == XCB_NONE) return;
    cutConnection();
    awaitDisconnection();
    releaseStrandedKeys(connection_, board_.emittedKeys());
  }

  // Ends the guard's connection; the server then frees what it had grabbed. Shutting its socket down works even while
  // it has the server grabbed, when the server would not listen to us. A dead guard's has to be ended too: as long as
  // we have it, the server does not know that the guard is gone.
  void cutConnection() {
    if (!socket_.isOpen() || shutdown(socket_.get(), SHUT_RDWR) != 0) {
      xcb_kill_client(connection_, board_.resource.load(std::memory_order_relaxed));
      xcb_flush(connection_);
    }
  }

  const WatchdogBoard& board_;
  XcbConnection& connection_;
  FileDescriptor socket_;
  std::uint64_t beatAtRescue_ = 0;
};

}  // namespace

int main() {
  // What ends a whole session must not end the watchdog before the guard. The end of the guard does.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_IGN);
  void* shared = mmap(nullptr, sizeof(WatchdogBoard), PROT_READ, MAP_SHARED, watchdogBoardDescriptor, 0);
  if (shared == MAP_FAILED) return 1;
  const auto connection = XcbConnection::open();
  if (!connection) return 1;
  Watchdog(*static_cast<const WatchdogBoard*>(shared), *connection).run();
  return 0;
}
