// Accessibility observers of the simulated desktop, and the race that their registration can lose.
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

struct Observers : testing::Test {
  static void count(AXObserver&, const AXUIElement& element, const std::string&, void* refcon) {
    EXPECT_TRUE(isMainThread());
    static_cast<std::vector<std::int32_t>*>(refcon)->push_back(element.processIdentifier());
  }
  AXObserverRef observe(std::int32_t pid) {
    auto observer = std::get<AXObserverRef>(AXObserverCreate(pid, &count));
    EXPECT_EQ(AXObserverAddNotification(observer, AXUIElementCreateApplication(pid),
                                        kAXApplicationActivatedNotification, &activated),
              AXError::success);
    return observer;
  }
  void addToMainLoop(const AXObserverRef& observer) {
    CFRunLoopAddSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer), kCFRunLoopDefaultMode);
  }

  SimulatedDesktop desktop;
  std::vector<std::int32_t> activated;
};

TEST_F(Observers, hear_of_their_process_while_their_source_is_in_the_main_loop) {
  auto observer = observe(7);
  desktop.announceActivation(7);
  EXPECT_TRUE(activated.empty());
  addToMainLoop(observer);
  desktop.announceActivation(7);
  desktop.announceActivation(8);
  EXPECT_EQ(activated, std::vector<std::int32_t>{7});
  EXPECT_EQ(desktop.observersOf(7), 1U);
  CFRunLoopRemoveSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer), kCFRunLoopDefaultMode);
  desktop.announceActivation(7);
  EXPECT_EQ(activated.size(), 1U);
  addToMainLoop(observer);
  observer.reset();  // the loop's source alone keeps nobody listening
  desktop.announceActivation(7);
  EXPECT_EQ(activated.size(), 1U);
}

TEST_F(Observers, one_that_is_taken_out_in_the_callback_of_another_hears_nothing) {
  const auto second = observe(7);
  static AXObserverRef toRemove;
  toRemove = second;
  const auto first =
      std::get<AXObserverRef>(AXObserverCreate(7, [](AXObserver&, const AXUIElement&, const std::string&, void*) {
        CFRunLoopRemoveSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(toRemove), kCFRunLoopDefaultMode);
      }));
  AXObserverAddNotification(first, AXUIElementCreateApplication(7), kAXApplicationActivatedNotification, nullptr);
  addToMainLoop(first);
  addToMainLoop(second);
  desktop.announceActivation(7);
  EXPECT_TRUE(activated.empty());
  toRemove.reset();
}

TEST_F(Observers, are_refused_by_process_by_step_or_altogether) {
  desktop.refuseObserver(5, AXError::cannotComplete);
  EXPECT_EQ(std::get<AXError>(AXObserverCreate(5, &count)), AXError::cannotComplete);
  desktop.refuseNotification(6, AXError::notificationUnsupported);
  const auto observer = std::get<AXObserverRef>(AXObserverCreate(6, &count));
  EXPECT_EQ(AXObserverAddNotification(observer, AXUIElementCreateApplication(6), kAXApplicationActivatedNotification,
                                      nullptr),
            AXError::notificationUnsupported);
  desktop.grantAccessibility(false);
  EXPECT_FALSE(AXIsProcessTrusted());
  EXPECT_EQ(std::get<AXError>(AXObserverCreate(7, &count)), AXError::apiDisabled);
}

TEST_F(Observers, a_story_runs_with_all_it_leads_to_while_background_registration_is_held_up) {
  std::string trace;
  desktop.duringBackgroundRegistration(7, [&] {
    EXPECT_TRUE(isMainThread());
    trace += "story ";
    runOnMainThread([&] { runOnMainThread([&] { trace += "consequence "; }); });
  });
  observe(7);  // not in the background
  runInBackground(QualityOfService::userInitiated, [&] {
    trace += "before ";
    observe(7);
    trace += "after ";
    observe(7);
  });
  desktop.settle();
  EXPECT_EQ(trace, "before story consequence after ");
}

}  // namespace
}  // namespace platform::simulated
