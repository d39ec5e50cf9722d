#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "varnoletKit/BlockedEventCoding.h"
#include "varnoletKit/ISO8601.h"

namespace varnoletKit {
namespace {

using namespace std::chrono_literals;

const platform::Date afternoon = std::chrono::sys_days(std::chrono::March / 1 / 2026) + 14h + 5min + 9s;

const BlockedEvent theft{.id = "6F9619FF-8B86-D011-B42D-00CF4FC964FF",
                         .timestamp = afternoon + 730ms,
                         .thiefBundleID = "org.example.Updater",
                         .thiefName = "Updater \"2\" — Ω",
                         .protectedBundleID = "org.example.Editor",
                         .protectedName = "Editor",
                         .keystrokesBuffered = 12,
                         .reactivationLatencyMs = 104};

const std::string document = R"([
  {
    "id": "6F9619FF-8B86-D011-B42D-00CF4FC964FF",
    "keystrokesBuffered": 12,
    "protectedBundleID": "org.example.Editor",
    "protectedName": "Editor",
    "reactivationLatencyMs": 104,
    "thiefBundleID": "org.example.Updater",
    "thiefName": "Updater \"2\" — Ω",
    "timestamp": "2026-03-01T14:05:09Z"
  }
])";

std::optional<std::vector<BlockedEvent>> decoded(const std::string& bytes) {
  auto result = decodeBlockedEvents(bytes);
  auto* events = std::get_if<std::vector<BlockedEvent>>(&result);
  return events ? std::optional(*events) : std::nullopt;
}

std::string encoded(const BlockedEvent& event) {
  return std::get<std::string>(encodeBlockedEvents({event}));
}

std::string with(std::string_view from, std::string_view to) {
  std::string changed = document;
  changed.replace(changed.find(from), from.size(), to);
  return changed;
}

TEST(BlockedEventCoding, WritesSortedPrettyPrintedObjectsAndReadsThemBack) {
  EXPECT_EQ(encoded(theft), document);
  const std::string object = document.substr(2, document.size() - 4);
  EXPECT_EQ(std::get<std::string>(encodeBlockedEvents({theft, theft})), "[\n" + object + ",\n" + object + "\n]");
  EXPECT_EQ(std::get<std::string>(encodeBlockedEvents({})), "[]");

  BlockedEvent inWholeSeconds = theft;
  inWholeSeconds.timestamp = afternoon;
  inWholeSeconds.keystrokesBuffered = std::numeric_limits<std::int64_t>::max();
  inWholeSeconds.reactivationLatencyMs = std::numeric_limits<std::int64_t>::min();
  inWholeSeconds.thiefName = std::string("\0 \n \x7F \\ /", 9);
  EXPECT_EQ(decoded(encoded(inWholeSeconds)), std::vector{inWholeSeconds});
}

TEST(BlockedEventCoding, ReadsAnotherWritersFormOfTheSame) {
  BlockedEvent expected = theft;
  expected.timestamp = afternoon;
  EXPECT_EQ(decoded(with("2026-03-01T14:05:09Z", "2026-03-01T15:35:09+01:30")), std::vector{expected});
  EXPECT_EQ(decoded(with("6F9619FF-8B86-D011", "6f9619ff-8b86-d011")), std::vector{expected});
  EXPECT_EQ(decoded(with("[\n", "[ \t{\"unknown\": [[]]} ,\n")), std::nullopt);
  EXPECT_EQ(decoded(with(R"("id")", R"("unknown": [{"id": 1}], "id")")), std::vector{expected});
  EXPECT_EQ(decoded(" [ ] "), std::vector<BlockedEvent>());
}

TEST(BlockedEventCoding, OneBadEventMakesTheDocumentUnreadable) {
  for (const char* member : {R"("id")", R"("keystrokesBuffered")", R"("protectedBundleID")", R"("protectedName")",
                             R"("reactivationLatencyMs")", R"("thiefBundleID")", R"("thiefName")", R"("timestamp")"}) {
    const std::string lacking = with(member, R"("other")");
    EXPECT_EQ(decoded(lacking), std::nullopt) << member;
    const std::string second = document.substr(0, document.size() - 2) + "," + lacking.substr(1);
    EXPECT_EQ(decoded(second), std::nullopt) << member;
  }
  for (const char* id : {"", "6F9619FF-8B86-D011-B42D-00CF4FC964F", "6F9619FF-8B86-D011-B42D-00CF4FC964FFF",
                         "6F9619FF8B86-D011-B42D-00CF4FC964FF00", "6F9619FG-8B86-D011-B42D-00CF4FC964FF"}) {
    EXPECT_EQ(decoded(with("6F9619FF-8B86-D011-B42D-00CF4FC964FF", id)), std::nullopt) << id;
  }
  for (const char* count : {"12.0", "\"12\"", "true", "null", "9223372036854775808"}) {
    EXPECT_EQ(decoded(with(": 12", std::string(": ") + count)), std::nullopt) << count;
  }
  EXPECT_EQ(decoded(with("\"Editor\"", "7")), std::nullopt);
  EXPECT_EQ(decoded(with("\"Editor\"", "[\"Editor\"]")), std::nullopt);
  EXPECT_EQ(decoded(document.substr(2)), std::nullopt);
  EXPECT_EQ(decoded("[null]"), std::nullopt);
}

TEST(BlockedEventCoding, TimestampsAreReadStrictly) {
  for (const char* text : {"2026-03-01T14:05:09.5Z",
                           "2026-03-01T14:05:09",
                           "2026-03-01 14:05:09Z",
                           "2026-03-01T14:05Z",
                           "2026-03-01",
                           "2026-02-29T14:05:09Z",
                           "2026-13-01T14:05:09Z",
                           "2026-00-01T14:05:09Z",
                           "2026-03-00T14:05:09Z",
                           "2026-03-01T24:00:00Z",
                           "2026-03-01T14:60:09Z",
                           "2026-03-01T14:05:60Z",
                           "2026-03-01T14:05:09z",
                           "2026-03-01t14:05:09Z",
                           "2026-03-01T14:05:09+0100",
                           "2026-03-01T14:05:09+1:00",
                           "2026-03-01T14:05:09+24:00",
                           "2026-03-01T14:05:09ZZ",
                           "+2026-03-01T14:05:09Z",
                           "2026-3-1T14:05:09Z",
                           "9999-12-31T23:59:59Z",
                           "",
                           "1677-09-21T00:12:43Z",
                           "2262-04-11T23:47:17Z"}) {
    EXPECT_EQ(dateFromISO8601(text), std::nullopt) << text;
  }
  for (const char* text :
       {"1677-09-21T00:12:44Z", "2262-04-11T23:47:16Z", "2024-02-29T23:59:59Z", "1969-12-31T23:59:59Z"}) {
    const auto date = dateFromISO8601(text);
    ASSERT_TRUE(date) << text;
    EXPECT_EQ(iso8601String(*date), text);
  }
  EXPECT_EQ(dateFromISO8601("2025-12-31T23:30:00-01:00"), dateFromISO8601("2026-01-01T00:30:00+00:00"));
  EXPECT_EQ(iso8601String(platform::Date(-1ms)), "1969-12-31T23:59:59Z");
}

TEST(BlockedEventCoding, BytesThatAreNotUTF8CostNeitherTheEventNorTheLog) {
  for (const std::string bytes : {"\xFF", "\xC3", "\xED\xA0\x80", "\xC0\xAF", "\xF4\x90\x80\x80", "\x80\x80"}) {
    BlockedEvent hostile = theft;
    hostile.thiefName = "a" + bytes + "é";
    hostile.thiefBundleID = bytes;
    hostile.protectedName = bytes;
    const auto events = decoded(encoded(hostile));
    ASSERT_TRUE(events);
    const std::string& name = events->front().thiefName;
    EXPECT_EQ(name.substr(0, 4), "a\uFFFD");
    EXPECT_EQ(name.substr(name.size() - 2), "é");
    EXPECT_EQ(decoded(encoded(events->front())), events);
  }
}

TEST(BlockedEventCoding, AnEventWithoutAUUIDIsNotWritten) {
  BlockedEvent nameless = theft;
  nameless.id = "unknown";
  EXPECT_TRUE(std::holds_alternative<CodingError>(encodeBlockedEvents({theft, nameless})));
}

}  // namespace
}  // namespace varnoletKit
