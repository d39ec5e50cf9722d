// Coroutines over Tasks.h: operations that suspend instead of blocking their thread.
//
//   Async<bool> becomesFrontmost(std::int32_t pid) {          // main thread
//     for (int poll = 1; poll <= 5; ++poll) {
//       co_await sleepOnMainThread(100ms);
//       if (isFrontmost(pid)) co_return true;
//     }
//     co_return false;
//   }
//   DetachedTask report(std::int32_t pid) { show(co_await becomesFrontmost(pid)); }
//
// Take what a coroutine uses as parameters by value: they live in its frame. The captures of a lambda and references to
// a caller's variables do not.
//
// Work that the desktop drops without running it, because the desktop goes away, takes the coroutine that it would have
// resumed with it, together with everything that awaits that coroutine. Exceptions that leave a coroutine end the
// process.
#pragma once

#include <cassert>
#include <chrono>
#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

#include "platform/Tasks.h"

namespace platform {

namespace detail {

// What every coroutine of ours knows: the outermost one of its chain. Its frame owns all others, each frame the one
// that it awaits, so that destroying it frees the whole chain.
struct ChainedPromise {
  std::coroutine_handle<> root;

  [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
};

// Stands in for one suspended chain: either it resumes the chain, or its end is the chain's end too.
class Resumption {
 public:
  Resumption(std::coroutine_handle<> suspended, std::coroutine_handle<> root) : suspended_(suspended), root_(root) {}
  Resumption(const Resumption&) = delete;
  Resumption& operator=(const Resumption&) = delete;
  ~Resumption() {
    if (root_) root_.destroy();
  }

  void resume() {
    root_ = nullptr;
    suspended_.resume();
  }

 private:
  std::coroutine_handle<> suspended_;
  std::coroutine_handle<> root_;
};

template <class Promise>
Work resumptionOf(std::coroutine_handle<Promise> suspended) {
  return [chain = std::make_shared<Resumption>(suspended, suspended.promise().root)] { chain->resume(); };
}

template <class T>
class AsyncResult : public ChainedPromise {
 public:
  void return_value(T value) { value_.emplace(std::move(value)); }
  T take() { return std::move(*value_); }

 private:
  std::optional<T> value_;
};

template <>
class AsyncResult<void> : public ChainedPromise {
 public:
  void return_void() const noexcept {}
  void take() const noexcept {}
};

}  // namespace detail

// An operation that starts when it is awaited, once, and yields what it returns. It runs on the thread that awaits it
// until it changes threads itself, and its awaiter goes on where it ends. Never awaited, it never starts.
template <class T>
class [[nodiscard]] Async {
 public:
  class promise_type;
  using Handle = std::coroutine_handle<promise_type>;

  class promise_type : public detail::AsyncResult<T> {
   public:
    Async get_return_object() { return Async(Handle::from_promise(*this)); }
    std::suspend_always initial_suspend() const noexcept { return {}; }
    auto final_suspend() const noexcept {
      struct GoOnWithAwaiter {
        bool await_ready() const noexcept { return false; }
        std::coroutine_handle<> await_suspend(Handle ended) const noexcept { return ended.promise().awaiter_; }
        void await_resume() const noexcept {}
      };
      return GoOnWithAwaiter{};
    }

   private:
    friend class Async;
    std::coroutine_handle<> awaiter_;
  };

  Async(Async&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Async& operator=(Async&&) = delete;
  ~Async() {
    if (handle_) handle_.destroy();
  }

  class Awaiter {
   public:
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> awaiter) const noexcept {
      awaited_.promise().root = awaiter.promise().root;
      awaited_.promise().awaiter_ = awaiter;
      return awaited_;
    }
    T await_resume() const { return awaited_.promise().take(); }

   private:
    friend class Async;
    explicit Awaiter(Handle awaited) : awaited_(awaited) {}

    Handle awaited_;
  };

  Awaiter operator co_await() && noexcept {
    assert(handle_ && !handle_.promise().awaiter_);
    return Awaiter(handle_);
  }

 private:
  explicit Async(Handle handle) : handle_(handle) {}

  Handle handle_;
};

// A coroutine that starts at once, inside the call, and that nobody waits for.
class DetachedTask {
 public:
  class promise_type : public detail::ChainedPromise {
   public:
    DetachedTask get_return_object() {
      root = std::coroutine_handle<promise_type>::from_promise(*this);
      return {};
    }
    std::suspend_never initial_suspend() const noexcept { return {}; }
    std::suspend_never final_suspend() const noexcept { return {}; }
    void return_void() const noexcept {}
  };
};

namespace detail {

struct Sleep {
  std::chrono::nanoseconds duration;
  ScheduledTask wakeUp{};

  bool await_ready() const noexcept { return false; }
  template <class Promise>
  void await_suspend(std::coroutine_handle<Promise> suspended) {
    assert(isMainThread());
    wakeUp = runOnMainThreadAfter(duration, resumptionOf(suspended));
  }
  void await_resume() const noexcept {}
};

struct MainThreadHop {
  bool await_ready() const noexcept { return false; }
  template <class Promise>
  void await_suspend(std::coroutine_handle<Promise> suspended) const {
    runOnMainThread(resumptionOf(suspended));
  }
  void await_resume() const noexcept {}
};

struct BackgroundHop {
  QualityOfService quality;

  bool await_ready() const noexcept { return false; }
  template <class Promise>
  void await_suspend(std::coroutine_handle<Promise> suspended) const {
    runInBackground(quality, resumptionOf(suspended));
  }
  void await_resume() const noexcept {}
};

}  // namespace detail

// `co_await` them in a coroutine of this header.
// Main thread. Goes on there after `duration`; other main-thread work runs meanwhile.
[[nodiscard]] inline detail::Sleep sleepOnMainThread(std::chrono::nanoseconds duration) {
  return {duration};
}
// Any thread. Goes on in a later turn of the main thread, after the work already handed to it.
[[nodiscard]] inline detail::MainThreadHop resumeOnMainThread() {
  return {};
}
// Any thread. Goes on as background work.
[[nodiscard]] inline detail::BackgroundHop resumeInBackground(QualityOfService quality) {
  return {quality};
}

}  // namespace platform
