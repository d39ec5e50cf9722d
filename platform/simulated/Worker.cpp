#include "platform/simulated/Worker.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace platform::simulated {
namespace {

thread_local Worker* currentWorker = nullptr;

}  // namespace

void failLoudly(const std::string& what) {
  std::fprintf(stderr, "simulated desktop: %s\n", what.c_str());
  std::abort();
}

void Baton::giveTo(Worker& worker) {
  assert(!Worker::current());
  std::unique_lock lock(mutex_);
  holder_ = &worker;
  changed_.notify_all();
  changed_.wait(lock, [this] { return !holder_; });
}

Worker::Worker(Baton& baton) : baton_(baton), thread_([this] { main(); }) {}

Worker::~Worker() {
  assert(isIdle());
  {
    const std::lock_guard lock(baton_.mutex_);
    ending_ = true;
    baton_.changed_.notify_all();
  }
  thread_.join();
}

Worker* Worker::current() {
  return currentWorker;
}

void Worker::start(Work job) {
  assert(isIdle());
  job_ = std::move(job);
  resume();
}

void Worker::pause(Condition mayGoOn, std::optional<std::uint64_t> deadline) {
  assert(current() == this);
  mayGoOn_ = std::move(mayGoOn);
  deadline_ = deadline;
  handBack(State::paused);
  waitForTurn();
  state_ = State::running;
  mayGoOn_ = nullptr;
  deadline_.reset();
}

void Worker::main() {
  currentWorker = this;
  while (waitForTurn()) {
    state_ = State::running;
    try {
      job_();
    } catch (const DesktopGone&) {
      // The job has been unwound, which is all that was asked for.
    }
    job_ = nullptr;
    handBack(State::idle);
  }
}

void Worker::handBack(State state) {
  const std::lock_guard lock(baton_.mutex_);
  state_ = state;
  baton_.holder_ = nullptr;
  baton_.changed_.notify_all();
}

bool Worker::waitForTurn() {
  std::unique_lock lock(baton_.mutex_);
  baton_.changed_.wait(lock, [this] { return baton_.holder_ == this || ending_; });
  return baton_.holder_ == this;
}

}  // namespace platform::simulated
