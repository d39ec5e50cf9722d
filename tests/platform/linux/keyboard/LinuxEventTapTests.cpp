#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <thread>

#include "platform/linux/keyboard/LinuxEventTap.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tests/platform/linux/EventLoop.h"
#include "tools/stage/Keyboard.h"
#include "tools/stage/Mouse.h"

namespace platform::linux_desktop {
namespace {

CFMachPortRef createTap(Desktop& desktop, CGEventTapCallBack callback, void* userInfo) {
  return desktop.events().createTap(CGEventTapLocation::hid, CGEventTapPlacement::headInsert, CGEventTapOptions::active,
                                    ~CGEventMask{0}, callback, userInfo);
}

class LinuxEventTapTest : public testing::Test {
 protected:
  void TearDown() override { desktop->finish(); }

  static CGEvent* letPass(CGEventTapProxy, CGEventType, CGEvent& event, void*) { return &event; }

  // A place inside the window.
  stage::Point placeOf(xcb_window_t window) const {
    const auto& connection = scene.desktop.connection();
    const auto origin = stage::answer(connection, xcb_translate_coordinates_reply,
                                      xcb_translate_coordinates(connection, window, connection.root(), 5, 5));
    return origin ? stage::Point{origin->dst_x, origin->dst_y} : stage::Point{};
  }

  DesktopScene scene;
  std::unique_ptr<LinuxDesktop> desktop = LinuxDesktop::open("app.test");
  InstalledDesktop installed{*desktop};
  Application application{scene.desktop};
};

TEST_F(LinuxEventTapTest, AKeyboardThatComesBackUnderItsNumberBeforeItWasMissedIsHeldAgain) {
  const stage::Keyboard keyboard{scene.desktop.connection()};
  const auto tap = createTap(*desktop, letPass, nullptr);
  const auto source = std::dynamic_pointer_cast<PolledSource>(desktop->runLoops().createSource(tap, 0));
  // Lets the tap do all that has come in until `done` holds.
  const auto performUntil = [&](const std::function<bool()>& done) {
    return runUntil([&] {
      while (source->perform()) continue;
      return done();
    });
  };
  application.createMapped();  // the focus may move
  ASSERT_TRUE(performUntil([&] { return keyboard.isFloating(); }));
  xcb_grab_server(scene.desktop.connection());  // so that the tap learns of all at once
  for (const bool enabled : {false, true, false, true}) keyboard.setEnabled(enabled);
  xcb_ungrab_server(scene.desktop.connection());
  ASSERT_FALSE(keyboard.isFloating());
  EXPECT_TRUE(performUntil([&] { return keyboard.isFloating(); }));
  EXPECT_TRUE(performUntil([&] { return !keyboard.isFloating(); })) << "held, and nobody knows of it";
}

// The tap's thread stands still in its callback for as long as the test wants.
class SlowTap {
 public:
  explicit SlowTap(Desktop& desktop) : desktop_(desktop), tap_(createTap(desktop, &SlowTap::callback, this)) {
    thread_ = std::thread([this, source = desktop.runLoops().createSource(tap_, 0)] {
      loop_ = desktop_.runLoops().current();
      desktop_.runLoops().addSource(loop_, source, kCFRunLoopCommonModes);
      isReady_.set_value();
      while (desktop_.runLoops().runInMode(kCFRunLoopDefaultMode, 60, false) != CFRunLoopRunResult::stopped) {
      }
    });
    isReady_.get_future().wait();
  }
  ~SlowTap() {
    desktop_.runLoops().stop(loop_);
    thread_.join();
    tap_->setEnabled(false);
  }

  std::unique_lock<std::mutex> standStill() { return std::unique_lock(gate_); }
  int presses() const { return presses_; }

 private:
  static CGEvent* callback(CGEventTapProxy, CGEventType type, CGEvent& event, void* self) {
    auto& tap = *static_cast<SlowTap*>(self);
    const std::lock_guard wait(tap.gate_);
    if (type == kCGEventLeftMouseDown) ++tap.presses_;
    return &event;
  }

  Desktop& desktop_;
  CFMachPortRef tap_;
  CFRunLoopRef loop_;
  std::promise<void> isReady_;
  std::mutex gate_;
  std::atomic<int> presses_ = 0;
  std::thread thread_;
};

TEST_F(LinuxEventTapTest, TellsAnActivationOnlyAfterThePressThatCausedIt) {
  Application clicked{scene.desktop};
  stage::Mouse mouse(scene.desktop.display());
  const auto inFront = [&](const Application& one) {
    // Another thread is told what the main thread has seen, and not what the server says.
    return std::async(std::launch::async,
                      [&] {
                        const auto front = desktop->workspace().frontmostApplication();
                        return front && front->processIdentifier() == one.process();
                      })
        .get();
  };
  std::vector<int> pressesAtActivation;
  std::optional<SlowTap> tap(*desktop);
  desktop->workspace().notificationCenter().addObserverForName(
      NSWorkspaceDidActivateApplicationNotification, NSOperationQueue::mainQueue,
      [&](const NSNotification&) { pressesAtActivation.push_back(tap ? tap->presses() : -1); });
  const xcb_window_t window = clicked.createMapped();
  ASSERT_TRUE(runUntil([&] { return inFront(clicked); }));
  const xcb_window_t second = application.createMapped();
  ASSERT_TRUE(runUntil([&] { return inFront(application) && pressesAtActivation.size() == 2; }));

  auto gate = tap->standStill();
  mouse.click(placeOf(window));
  ASSERT_TRUE(runUntil([&] { return inFront(clicked); }));
  EXPECT_EQ(pressesAtActivation.size(), 2u) << "told although the press was not";
  gate.unlock();
  ASSERT_TRUE(runUntil([&] { return pressesAtActivation.size() == 3; }));
  EXPECT_EQ(pressesAtActivation.back(), 1);

  // And at once where no tap runs.
  tap.reset();
  scene.desktop.activate(second);
  EXPECT_TRUE(runUntil([&] { return pressesAtActivation.size() == 4; }));
}

}  // namespace
}  // namespace platform::linux_desktop
