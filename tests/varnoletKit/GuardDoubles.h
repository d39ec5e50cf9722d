// What the tests of the guard put in place of its neighbours.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/EventLogging.h"
#include "varnoletKit/EventTapDelegate.h"
#include "varnoletKit/KeystrokeBuffer.h"
#include "varnoletKit/WhitelistChecking.h"

namespace varnoletKit {

using namespace std::chrono_literals;
using platform::LogCategory;
using platform::LogLevel;
using platform::NSRunningApplication;
using platform::simulated::ActivationBehaviour;
using platform::simulated::LogLine;
using platform::simulated::SimulatedDesktop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

struct StubWhitelist final : WhitelistChecking {
  bool isWhitelisted(const std::string& bundleID) override {
    asked.push_back(bundleID);
    return entries.contains(bundleID);
  }
  std::set<std::string> entries;
  std::vector<std::string> asked;
};

struct RecordedDelegateCalls final : KeystrokeBufferDelegate {
  void keystrokeBufferDidTimeout() override { record("timeout"); }
  void keystrokeBufferDidCancelViaMouseClick() override { record("mouse click"); }
  void record(const char* call) {
    EXPECT_TRUE(platform::isMainThread());
    calls.emplace_back(call);
  }
  std::vector<std::string> calls;
};

// Lets the keystroke buffer alone decide on tapped events.
struct TapOnBuffer final : EventTapDelegate {
  explicit TapOnBuffer(std::shared_ptr<KeystrokeBuffer> target) : buffer(std::move(target)) {}
  platform::CGEvent* handleTapEvent(platform::CGEventTapProxy, platform::CGEventType type,
                                    platform::CGEvent& event) override {
    return buffer->handleEvent(type, event);
  }
  const std::shared_ptr<KeystrokeBuffer> buffer;
};

// On which something happens when a certain message is logged, on the thread that logs it.
class InterruptedDesktop final : public SimulatedDesktop, private platform::LogSink {
 public:
  platform::LogSink& log() override { return *this; }
  std::string moment;
  std::function<void()> interruption;

 private:
  void write(LogCategory category, LogLevel level, const std::string& message) override {
    SimulatedDesktop::log().write(category, level, message);
    if (message == moment) interruption();
  }
};

inline LogLine debugLine(LogCategory category, std::string message) {
  return {category, LogLevel::debug, std::move(message)};
}
inline LogLine infoLine(LogCategory category, std::string message) {
  return {category, LogLevel::info, std::move(message)};
}
inline LogLine errorLine(LogCategory category, std::string message) {
  return {category, LogLevel::error, std::move(message)};
}

// The log since it was last cleared, without the categories that a test does not care for.
inline std::vector<LogLine> logOf(const SimulatedDesktop& desktop, const std::set<LogCategory>& categories) {
  auto lines = desktop.logLines();
  std::erase_if(lines, [&](const LogLine& line) { return !categories.contains(line.category); });
  return lines;
}

}  // namespace varnoletKit
