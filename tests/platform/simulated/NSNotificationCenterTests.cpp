#include <gtest/gtest.h>

#include <string>

#include "platform/NSNotificationCenter.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform {
namespace {

using simulated::SimulatedDesktop;

struct NotificationCenter : testing::Test {
  NSNotificationCenter::Block note(const std::string& what) {
    return [this, what](const NSNotification&) { trace += what; };
  }

  SimulatedDesktop desktop;
  NSNotificationCenter& center = NSNotificationCenter::defaultCenter();
  std::string trace;
};

TEST_F(NotificationCenter, tells_observers_of_that_name_in_the_order_in_which_they_came) {
  center.addObserverForName("n", NSOperationQueue::poster, note("a"));
  center.addObserverForName("other", NSOperationQueue::poster, note("x"));
  center.addObserverForName("n", NSOperationQueue::mainQueue, note("b"));
  center.postNotification({"n", {}});
  EXPECT_EQ(trace, "ab");
}

TEST_F(NotificationCenter, a_main_queue_observer_hears_of_a_background_post_in_a_main_thread_task) {
  center.addObserverForName("n", NSOperationQueue::poster, note("poster "));
  center.addObserverForName("n", NSOperationQueue::mainQueue, [this](const NSNotification&) {
    EXPECT_TRUE(isMainThread());
    trace += "main ";
  });
  runInBackground(QualityOfService::standard, [this] {
    center.postNotification({"n", {}});
    trace += "posted ";
  });
  desktop.settle();
  EXPECT_EQ(trace, "poster posted main ");
}

TEST_F(NotificationCenter, an_observer_removed_before_its_turn_hears_nothing) {
  const auto onMain = center.addObserverForName("n", NSOperationQueue::mainQueue, note("removed "));
  runInBackground(QualityOfService::standard, [&] {
    center.postNotification({"n", {}});
    center.removeObserver(onMain);
    trace += "posted ";
  });
  desktop.settle();
  EXPECT_EQ(trace, "posted ");
  trace.clear();

  NSNotificationCenter::ObserverToken second{};
  center.addObserverForName("m", NSOperationQueue::poster,
                            [&](const NSNotification&) { center.removeObserver(second); });
  second = center.addObserverForName("m", NSOperationQueue::poster, note("second"));
  center.postNotification({"m", {}});
  EXPECT_EQ(trace, "");
}

TEST_F(NotificationCenter, a_block_may_remove_itself_and_add_others_that_hear_of_the_next_post_only) {
  NSNotificationCenter::ObserverToken self{};
  self = center.addObserverForName("n", NSOperationQueue::poster, [&, held = std::string("held ")](const auto&) {
    center.removeObserver(self);
    center.addObserverForName("n", NSOperationQueue::poster, note("next "));
    trace += held;
  });
  center.postNotification({"n", {}});
  EXPECT_EQ(trace, "held ");
  center.postNotification({"n", {}});
  EXPECT_EQ(trace, "held next ");
  center.removeObserver(self);  // long gone
}

}  // namespace
}  // namespace platform
