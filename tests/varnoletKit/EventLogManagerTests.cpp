#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/UUID.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/EventLogAdapter.h"
#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/ISO8601.h"

namespace varnoletKit {
namespace {

using platform::LogCategory;
using platform::LogLevel;
using platform::simulated::LogLine;
using namespace std::chrono_literals;

class EventLogManagerTest : public testing::Test {
 protected:
  static BlockedEvent theftAt(const std::string& time, const std::string& thief = "Thief") {
    return {platform::newUUID(),
            *dateFromISO8601(time),
            "org.example.Thief",
            thief,
            "org.example.Editor",
            "Editor",
            3,
            101};
  }
  static std::optional<std::string> contents(const std::filesystem::path& file) {
    const auto read = platform::NSFileManager::defaultManager().contents(file);
    const auto* bytes = std::get_if<std::string>(&read);
    return bytes ? std::optional(*bytes) : std::nullopt;
  }
  std::vector<std::string> failures() const { return desktop.logMessages(LogCategory::lifecycle); }

  platform::simulated::SimulatedDesktop desktop;
  const std::filesystem::path folder = "/home/user/log";
  const std::filesystem::path file = folder / "blocked-events.json";
  EventLogManager log{folder};
  const BlockedEvent first = theftAt("2026-03-01T14:05:09Z", "First");
  const BlockedEvent second = theftAt("2026-03-01T14:05:10Z", "Second");
};

// A value of an environment variable, or none, for as long as it lives; no other thread runs meanwhile.
// NOLINTBEGIN(concurrency-mt-unsafe)
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(value);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  ~Environment() { set(before_ ? before_->c_str() : nullptr); }

 private:
  void set(const char* value) const {
    value ? setenv(name_, value, 1) : unsetenv(name_);
    tzset();
  }
  const char* name_;
  std::optional<std::string> before_;
};
// NOLINTEND(concurrency-mt-unsafe)

TEST_F(EventLogManagerTest, BeforeTheFirstEventThereIsNoFileAndNothingIsSaid) {
  EXPECT_TRUE(log.loadEvents().empty());
  log.pruneEvents(30);
  EXPECT_FALSE(contents(file));
  EXPECT_TRUE(desktop.logLines().empty());
  log.clearEvents();
  EXPECT_EQ(contents(file), "[]");
}

TEST_F(EventLogManagerTest, KeepsEventsInTheOrderTheyCameInWholeSeconds) {
  BlockedEvent third = second;
  third.id = platform::newUUID();
  third.timestamp += 999ms;
  {
    const auto manager = std::make_shared<EventLogManager>(folder);
    EventLogAdapter adapter(manager);
    adapter.log(second);
    adapter.log(first);
    EXPECT_FALSE(contents(file)) << "the main thread waits for the disk";
    desktop.settle();
    EXPECT_EQ(log.loadEvents(), (std::vector{second, first}));
    adapter.log(third);
  }
  third.timestamp = second.timestamp;
  EXPECT_EQ(log.loadEvents(), (std::vector{second, first, third}));
  ASSERT_EQ(desktop.logLines().size(), 3U);
  EXPECT_EQ(desktop.logLines().front(),
            (LogLine{LogCategory::focus, LogLevel::info, "Logged blocked event: Second → Editor"}));
}

TEST_F(EventLogManagerTest, NothingOvertakesAnEventThatWaitsToBeWritten) {
  log.appendLater(first);
  EXPECT_EQ(log.loadEvents(), std::vector{first});
  log.appendLater(first);
  log.append(second);
  EXPECT_EQ(log.loadEvents(), (std::vector{first, first, second}));

  log.appendLater(first);
  log.pruneEvents(-1);
  desktop.settle();
  EXPECT_EQ(contents(file), "[]");
  log.appendLater(first);
  log.pruneEventsLater(-1);
  EXPECT_EQ(contents(file), "[]") << "the main thread waits for the disk";
  log.appendLater(second);
  EXPECT_EQ(log.loadEvents(), std::vector{second});
  log.appendLater(first);
  log.clearEvents();
  desktop.settle();
  EXPECT_EQ(contents(file), "[]") << "a cleared event is back";
  log.append(first);
  log.clearEventsLater();
  EXPECT_NE(contents(file), "[]") << "the main thread waits for the disk";
  EXPECT_EQ(log.exportEvents(folder / "copy"), std::nullopt);
  EXPECT_EQ(contents(folder / "copy"), "[]") << "what was cleared is exported";
  log.appendLater(second);
  EXPECT_EQ(log.loadEvents(), std::vector{second});
}

TEST_F(EventLogManagerTest, WhatWaitsIsWrittenTogether) {
  log.append(first);
  desktop.clearLog();
  desktop.failWrites("full");
  for (int i = 0; i < 100; ++i) log.appendLater(second);
  log.pruneEventsLater(0);
  desktop.settle();
  EXPECT_EQ(failures(),
            (std::vector<std::string>{"Failed to write blocked events: full", "Pruned 101 old blocked events"}));
  EXPECT_EQ(desktop.timesLogged("Logged blocked event: Second → Editor"), 100U);
}

TEST_F(EventLogManagerTest, LivesInTheFirstApplicationSupportFolderElseInTheHomeFolder) {
  desktop.setApplicationSupportDirectories({"/home/user/.data", "/elsewhere"});
  EXPECT_EQ(EventLogManager().exportURL(), "/home/user/.data/Varnolet/blocked-events.json");
  desktop.setApplicationSupportDirectories({});
  EXPECT_EQ(EventLogManager().exportURL(), "/home/user/.local/share/Varnolet/blocked-events.json");
}

TEST_F(EventLogManagerTest, PrunesByCalendarDaysAcrossADaylightSavingChange) {
  const Environment centralEurope("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
  desktop.setWallClock(*dateFromISO8601("2026-04-10T12:00:00+02:00"));
  const auto old = theftAt("2026-03-11T11:59:59+01:00");
  const auto atTheEdge = theftAt("2026-03-11T12:00:00+01:00");
  for (const auto& event : {first, atTheEdge, old, second}) log.append(event);
  desktop.clearLog();
  log.pruneEvents(30);
  EXPECT_EQ(log.loadEvents(), std::vector{atTheEdge});
  EXPECT_EQ(desktop.logLines(),
            (std::vector{LogLine{LogCategory::lifecycle, LogLevel::info, "Pruned 3 old blocked events"}}));

  desktop.setWallClock(*dateFromISO8601("2026-10-26T12:00:00+01:00"));  // the day after the other change
  const auto dayBefore = theftAt("2026-10-25T12:00:00+01:00");
  log.append(theftAt("2026-10-25T11:59:59+01:00"));
  log.append(dayBefore);
  log.pruneEvents(1);
  EXPECT_EQ(log.loadEvents(), std::vector{dayBefore});
}

TEST_F(EventLogManagerTest, ARetentionThatTheCalendarCannotCountRemovesNothing) {
  log.append(first);
  const auto before = contents(file);
  desktop.failWrites("not to be written");
  for (const auto days :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(), std::int64_t{1'000'000}}) {
    log.pruneEvents(days);
  }
  EXPECT_EQ(contents(file), before);
  EXPECT_TRUE(failures().empty());
}

TEST_F(EventLogManagerTest, AnUndecodableLogReadsAsEmptyAndIsLeftAlone) {
  log.append(first);
  std::string fractional = *contents(file);
  fractional.replace(fractional.find("09Z"), 3, "09.5Z");
  for (const std::string& bytes : {fractional, std::string(), std::string("{}"), std::string(1'000'000, '[')}) {
    desktop.putFile(file, bytes);
    desktop.clearLog();
    EXPECT_TRUE(log.loadEvents().empty());
    log.pruneEvents(0);
    EXPECT_EQ(contents(file), bytes);
    ASSERT_EQ(desktop.logLines().size(), 2U);
    EXPECT_EQ(desktop.logLines().front().level, LogLevel::error);
    EXPECT_TRUE(failures().front().starts_with("Failed to decode blocked events: ")) << failures().front();
  }
  log.clearEvents();
  EXPECT_EQ(contents(file), "[]");
  EXPECT_EQ(desktop.fileNames(), std::vector{file});
}

TEST_F(EventLogManagerTest, AppendSetsAnUndecodableLogAsideUnderAFreeName) {
  for (const int number : {1, 2}) {
    const auto aside = folder / ("blocked-events.unreadable-" + std::to_string(number) + ".json");
    const std::string garbage = "garbage" + std::to_string(number);
    desktop.putFile(file, garbage);
    desktop.clearLog();
    log.append(first);
    EXPECT_EQ(log.loadEvents(), std::vector{first});
    EXPECT_EQ(contents(aside), garbage);
    EXPECT_EQ(failures().back(), "Set the blocked events that cannot be decoded aside as " + aside.string());
  }
  EXPECT_EQ(contents(folder / "blocked-events.unreadable-1.json"), "garbage1");
}

TEST_F(EventLogManagerTest, ALogThatCannotBeReadOrSetAsideIsKept) {
  desktop.putFile(file, "garbage");
  desktop.failMoves("Permission denied");
  log.append(first);
  EXPECT_EQ(contents(file), "garbage");
  EXPECT_EQ(failures().back(), "Failed to write blocked events: Permission denied");
  desktop.failMoves(std::nullopt);

  desktop.makeUnreadable(file);
  desktop.clearLog();
  log.append(second);
  EXPECT_EQ(desktop.fileNames(), std::vector{file}) << "it may be whole";
  EXPECT_EQ(failures(), std::vector<std::string>{"Failed to write blocked events: The file cannot be read."});
  EXPECT_EQ(desktop.timesLogged("Logged blocked event: Second → Editor"), 1U);
}

TEST_F(EventLogManagerTest, AFailedWriteLosesThatEventOnly) {
  log.append(first);
  desktop.clearLog();
  desktop.failWrites("No space left on device");
  log.append(second);
  EXPECT_EQ(desktop.logLines(),
            (std::vector{LogLine{LogCategory::lifecycle, LogLevel::error,
                                 "Failed to write blocked events: No space left on device"},
                         LogLine{LogCategory::focus, LogLevel::info, "Logged blocked event: Second → Editor"}}));
  desktop.failWrites(std::nullopt);
  EXPECT_EQ(log.loadEvents(), std::vector{first});

  BlockedEvent nameless = second;
  nameless.id.clear();
  log.append(nameless);
  EXPECT_EQ(failures().back(), "Failed to write blocked events: the id of an event is not a UUID");
  EXPECT_EQ(log.loadEvents(), std::vector{first});
}

TEST_F(EventLogManagerTest, AFolderThatCannotBeMadeShowsWhenTheLogIsWritten) {
  desktop.failFolderCreation("Read-only file system");
  EventLogManager homeless("/read-only/log");
  EXPECT_TRUE(desktop.logLines().empty());
  homeless.append(first);
  ASSERT_EQ(failures().size(), 1U);
  EXPECT_TRUE(failures().front().starts_with("Failed to write blocked events: "));
}

TEST_F(EventLogManagerTest, OperationsOfSeveralThreadsDoNotMix) {
  constexpr int each = 40;
  const auto appendSome = [&] {
    for (int i = 0; i < each; ++i) log.append(theftAt("2026-03-01T14:05:09Z"));
  };
  std::thread writer(appendSome);
  std::thread reader([&] {
    for (int i = 0; i < each; ++i) static_cast<void>(log.loadEvents());
  });
  appendSome();
  writer.join();
  reader.join();
  EXPECT_EQ(log.loadEvents().size(), 2U * each);
  EXPECT_TRUE(failures().empty());
}

}  // namespace
}  // namespace varnoletKit
