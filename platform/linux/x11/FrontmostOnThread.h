// What an event-tap callback sees as the frontmost application.
#pragma once

#include <sys/types.h>

#include <optional>

namespace platform::linux_desktop {

// While one lives on a thread, NSWorkspace::frontmostApplication() answers with its process on that thread, without
// asking the server: the event tap decides with the server grabbed, when every other connection has to wait.
class FrontmostOnThread {
 public:
  explicit FrontmostOnThread(std::optional<pid_t> process) : process_(process), outer_(current()) { current() = this; }
  FrontmostOnThread(const FrontmostOnThread&) = delete;
  FrontmostOnThread& operator=(const FrontmostOnThread&) = delete;
  ~FrontmostOnThread() { current() = outer_; }

  std::optional<pid_t> process() const { return process_; }
  // The innermost one of the calling thread, or null.
  static const FrontmostOnThread*& current() {
    thread_local const FrontmostOnThread* innermost = nullptr;
    return innermost;
  }

 private:
  std::optional<pid_t> process_;
  const FrontmostOnThread* outer_;
};

}  // namespace platform::linux_desktop
