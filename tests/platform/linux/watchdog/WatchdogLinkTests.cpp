#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <xcb/xcbext.h>

#include <cerrno>
#include <cstddef>
#include <thread>

#include "platform/linux/watchdog/WatchdogLink.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tests/platform/linux/EventLoop.h"

namespace platform::linux_desktop {
namespace {

// As hardened kernels do: what this thread starts may take no descriptor out of another process.
void forbidTakingDescriptors() {
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_getfd, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{sizeof rules / sizeof *rules, rules};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

TEST(WatchdogLinkTest, FreesTheServerWhenAGuardThatHasGrabbedItStandsStill) {
  const DesktopScene scene;
  std::unique_ptr<WatchdogLink> link;
  std::thread([&] {
    forbidTakingDescriptors();
    link = std::make_unique<WatchdogLink>();
  }).join();
  ASSERT_TRUE(link->isWatched());
  const auto guard = XcbConnection::open();
  const auto other = XcbConnection::open();
  link->watch(*guard);
  // The watchdog's own connection has to stand before the server listens to nobody else.
  runFor(std::chrono::milliseconds(500));
  xcb_grab_server(*guard);
  replyTo(*guard, xcb_get_input_focus_reply, xcb_get_input_focus(*guard));
  link->gateClosed();
  const auto question = xcb_get_input_focus(*other);
  xcb_flush(*other);
  EXPECT_TRUE(runUntil(
      [&] {
        void* answer = nullptr;
        const bool isAnswered = xcb_poll_for_reply(*other, question.sequence, &answer, nullptr) != 0;
        return isAnswered && XcbOwned<void>(answer) != nullptr;
      },
      std::chrono::seconds(1)));
}

}  // namespace
}  // namespace platform::linux_desktop
