// The parts of the guard that several threads use at once, under threads that really run at once. Most of what these
// tests find, they find under ThreadSanitizer.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "ThreadedDesktop.h"
#include "varnoletKit/ExpectedReturn.h"
#include "varnoletKit/GestureDetector.h"
#include "varnoletKit/KeystrokeBuffer.h"

namespace varnoletKit {
namespace {

using namespace std::chrono_literals;
using platform::kCGEventKeyDown;
using platform::kCGEventLeftMouseDown;

// A capture timeout that no test waits for, in milliseconds.
constexpr std::int64_t longEnough = 100'000'000;

// What became of one key that was typed.
struct Fate {
  std::atomic<int> passed{0};
  std::atomic<int> posted{0};
  std::atomic<int> dropped{0};
  int total() const { return passed + posted + dropped; }
};

class Key final : public platform::CGEvent {
 public:
  Key(int number, Fate& fate, bool isCopy = false) : number_(number), fate_(fate), isCopy_(isCopy) {}
  ~Key() override {
    if (isCopy_ && !isPosted_) ++fate_.dropped;
  }
  int number() const { return number_; }
  void arrive() {
    isPosted_ = true;
    ++fate_.posted;
  }

  platform::CGEventFlags flags() const override { return 0; }
  platform::CGPoint location() const override { return {}; }
  std::unique_ptr<platform::CGEvent> copy() const override { return std::make_unique<Key>(number_, fate_, true); }

 private:
  const int number_;
  Fate& fate_;
  const bool isCopy_;
  bool isPosted_ = false;
};

struct CountingDelegate final : KeystrokeBufferDelegate {
  void keystrokeBufferDidTimeout() override { ++timeouts; }
  void keystrokeBufferDidCancelViaMouseClick() override { ++clicks; }
  int timeouts = 0;
  int clicks = 0;
};

class GuardThreadTest : public ::testing::Test {
 protected:
  GuardThreadTest() {
    desktop_.onPost = [this](std::unique_ptr<platform::CGEvent> event) { arrive(static_cast<Key&>(*event)); };
  }

  // Each thread posts in the order of typing.
  void arrive(Key& key) {
    key.arrive();
    const std::lock_guard lock(mutex_);
    auto& last = lastPostedBy_[std::this_thread::get_id()];
    EXPECT_LT(last, key.number());
    last = key.number();
  }
  static void holdSpeculatively(KeystrokeBuffer& buffer, int number, Fate& fate) {
    Key key(number, fate);
    do {
      buffer.startSpeculativeCapture();
    } while (buffer.handleEvent(kCGEventKeyDown, key));  // the timeout can be quicker than the key
  }
  // Ends what the buffer has still under way on other threads.
  void finish(KeystrokeBuffer& buffer) {
    buffer.cancelCapture();
    desktop_.waitForTimers();
    desktop_.runMainThreadWork();
  }
  // Up to twice as long as a timer of 200 ms takes here.
  void waitForAnyMoment() {
    const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(random_() % 400);
    while (std::chrono::steady_clock::now() < until) std::this_thread::yield();
  }
  static void waitUntil(const std::atomic<int>& number, int value) {
    while (number != value) std::this_thread::yield();
  }

  ThreadedDesktop desktop_;
  std::shared_ptr<CountingDelegate> delegate_ = std::make_shared<CountingDelegate>();
  std::mt19937 random_{20};
  int lastNumber_ = 0;

 private:
  std::mutex mutex_;
  std::map<std::thread::id, int> lastPostedBy_;
};

TEST_F(GuardThreadTest, WhateverHappensEachKeyIsPassedPostedOrDroppedOnce) {
  std::vector<Fate> fates(20'000);
  const auto buffer = std::make_shared<KeystrokeBuffer>(300, delegate_);
  std::atomic<bool> isTyping{true};
  int clicks = 0;
  std::thread tap([&] {
    for (int i = 0; i < static_cast<int>(fates.size()); ++i) {
      Fate& fate = fates[static_cast<std::size_t>(i)];
      Key key(i + 1, fate);
      if (i % 50 == 0) buffer->startSpeculativeCapture();
      if (buffer->handleEvent(kCGEventKeyDown, key)) ++fate.passed;
      if (i % 1000 == 999 && buffer->handleEvent(kCGEventLeftMouseDown, key)) ++clicks;
    }
    isTyping = false;
  });
  while (isTyping) {
    switch (random_() % 8) {
      case 0:
        buffer->flush();
        break;
      case 1:
        buffer->replay();
        break;
      case 2:
        buffer->cancelCapture();
        break;
      case 3:
        buffer->startCapturing();
        break;
      case 4:
        waitForAnyMoment();
        break;
      default:
        buffer->promoteToCapture();
        break;
    }
    desktop_.runMainThreadWork();
  }
  tap.join();
  finish(*buffer);
  EXPECT_EQ(clicks, 20);
  EXPECT_LE(delegate_->clicks, clicks);
  EXPECT_EQ(buffer->mode(), BufferMode::passThrough);
  EXPECT_TRUE(std::all_of(fates.begin(), fates.end(), [](const Fate& fate) { return fate.total() == 1; }));
}

TEST_F(GuardThreadTest, APromotedKeyIsNotReleasedByTheSafetyTimeoutThatComesWithThePromotion) {
  const auto buffer = std::make_shared<KeystrokeBuffer>(longEnough, delegate_);
  std::vector<Fate> fates(1000);
  int replayed = 0;
  for (int i = 0; i < static_cast<int>(fates.size()); ++i) {
    Fate& fate = fates[static_cast<std::size_t>(i)];
    holdSpeculatively(*buffer, i + 1, fate);
    waitForAnyMoment();
    buffer->promoteToCapture();
    if (buffer->mode() == BufferMode::capturing) {
      waitForAnyMoment();
      EXPECT_EQ(fate.posted, 0);
      EXPECT_EQ(buffer->replay(), 1);
      ++replayed;
    } else {
      EXPECT_EQ(buffer->replay(), 0);
      waitUntil(fate.posted, 1);
    }
  }
  finish(*buffer);
  EXPECT_TRUE(std::all_of(fates.begin(), fates.end(), [](const Fate& fate) { return fate.posted == 1; }));
  RecordProperty("replayed", replayed);
}

TEST_F(GuardThreadTest, AKeyIsEitherReplayedOrDroppedByTheCaptureTimeoutAndTheDelegateToldOfThat) {
  const auto buffer = std::make_shared<KeystrokeBuffer>(200, delegate_);
  std::vector<Fate> fates(1000);
  int dropped = 0;
  for (int i = 0; i < static_cast<int>(fates.size()); ++i) {
    Fate& fate = fates[static_cast<std::size_t>(i)];
    Key key(i + 1, fate);
    buffer->startCapturing();
    if (buffer->handleEvent(kCGEventKeyDown, key)) {  // the timeout was quicker than the key
      ++fate.passed;
      ++dropped;
      continue;
    }
    waitForAnyMoment();
    if (buffer->replay() == 0) {
      waitUntil(fate.dropped, 1);
      ++dropped;
    }
    EXPECT_EQ(fate.total(), 1);
  }
  finish(*buffer);
  EXPECT_EQ(delegate_->timeouts, dropped);
}

TEST_F(GuardThreadTest, ATimeoutThatIsCancelledInItsLastMomentNoLongerActs) {
  using Operation = std::function<void(KeystrokeBuffer&)>;
  struct Case {
    const char* name;
    Operation start;
    Operation cancel;
    std::int64_t heldAfterwards;
  };
  const Operation startSpeculative = &KeystrokeBuffer::startSpeculativeCapture;
  const Operation startCapturing = &KeystrokeBuffer::startCapturing;
  const Operation promote = &KeystrokeBuffer::promoteToCapture;
  const Operation replay = &KeystrokeBuffer::replay;
  desktop_.letTimersActTooLate();
  for (const auto& [name, start, cancel, heldAfterwards] : {
           Case{"speculative, promoted", startSpeculative, promote, 1},
           Case{"speculative, restarted", startSpeculative, startSpeculative, 1},
           Case{"speculative, flushed", startSpeculative, &KeystrokeBuffer::flush, 0},
           Case{"capture, replayed", startCapturing, replay, 0},
           Case{"capture, restarted", startCapturing, startCapturing, 1},
           Case{"capture, promoted again", startCapturing, promote, 1},
           Case{"capture, cancelled", startCapturing, &KeystrokeBuffer::cancelCapture, 0},
       }) {
    const auto buffer = std::make_shared<KeystrokeBuffer>(200, delegate_);
    Fate fate;
    Key key(++lastNumber_, fate);
    const int due = desktop_.timersDue();
    start(*buffer);
    ASSERT_EQ(buffer->handleEvent(kCGEventKeyDown, key), nullptr);
    while (desktop_.timersDue() == due) std::this_thread::yield();
    cancel(*buffer);
    EXPECT_EQ(buffer->count(), heldAfterwards) << name;
    finish(*buffer);
    EXPECT_EQ(fate.total(), 1) << name;
    EXPECT_EQ(delegate_->timeouts, 0) << name;
  }
}

TEST_F(GuardThreadTest, ATimeoutThatIsCancelledWhileItIsStartedNeverRuns) {
  const auto buffer = std::make_shared<KeystrokeBuffer>(200, delegate_);
  desktop_.onStartTimer = [&] { buffer->cancelCapture(); };
  buffer->startCapturing();
  buffer->promoteToCapture();
  desktop_.waitForTimers();
  desktop_.runMainThreadWork();
  EXPECT_EQ(delegate_->timeouts, 0);
}

TEST_F(GuardThreadTest, NothingIsPostedOrLoggedUnderTheLockAndAKeyThatComesMeanwhilePasses) {
  const auto buffer = std::make_shared<KeystrokeBuffer>(longEnough, delegate_);
  std::array<Fate, 4> fates;
  std::atomic<int> passed{0};
  desktop_.onLog = [&] { buffer->count(); };
  desktop_.onPost = [&](std::unique_ptr<platform::CGEvent> event) {
    static_cast<Key&>(*event).arrive();
    Key late(0, fates[3]);
    if (buffer->handleEvent(kCGEventKeyDown, late)) ++passed;
  };
  holdSpeculatively(*buffer, 1, fates[0]);
  buffer->flush();
  holdSpeculatively(*buffer, 1, fates[1]);  // released by the timeout
  waitUntil(passed, 2);
  buffer->startCapturing();
  Key key(1, fates[2]);
  EXPECT_EQ(buffer->handleEvent(kCGEventKeyDown, key), nullptr);
  EXPECT_EQ(buffer->replay(), 1);
  finish(*buffer);
  EXPECT_EQ(passed, 3);
}

TEST_F(GuardThreadTest, WhoeverLetsGoOfAReturnExpectsNobodyThoughTheTapAsks) {
  ExpectedReturn expected;
  std::atomic<bool> isTyping{true};
  std::thread tap([&] {
    for (int i = 0; isTyping; ++i) {
      EXPECT_LE(expected.pid(), 2);
      if (i % 100 == 0) expected.end();
    }
  });
  for (int i = 0; i < 20'000; ++i) {
    auto expectation = expected.expect(1 + i % 2);
    expected.isCurrent(expectation);
    expectation.reset();
    EXPECT_EQ(expected.pid(), 0);
  }
  isTyping = false;
  tap.join();
}

TEST_F(GuardThreadTest, AGestureIsSeenAsSoonAsItIsRecorded) {
  GestureDetector detector(64);
  std::atomic<int> recorded{0};
  constexpr int events = 20'000;
  std::thread tap([&] {
    for (int i = 1; i <= events; ++i) {
      detector.recordEvent(i % 100 == 0 ? kCGEventLeftMouseDown : kCGEventKeyDown, 0, i, platform::dateNow());
      recorded = i;
    }
  });
  while (recorded < events) {
    const bool hasGesture = recorded >= 100;
    if (hasGesture) {
      EXPECT_TRUE(detector.hasRecentUserGesture(60'000));
    }
    detector.hasRecentUserGesture(0);  // goes through the ring while it is written
    if (random_() % 16 == 0) detector.reset();
  }
  tap.join();
  EXPECT_TRUE(detector.hasRecentUserGesture(60'000));
}

}  // namespace
}  // namespace varnoletKit
