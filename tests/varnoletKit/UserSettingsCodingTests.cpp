#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "varnoletKit/UserSettingsCoding.h"

namespace varnoletKit {
namespace {

const std::string document =
    R"({"whitelist":["com.apple.FaceTime"],"gestureWindowMs":500,"bufferTimeoutMs":500,"notificationsEnabled":true,)"
    R"("soundEnabled":true,"logRetentionDays":30,"launchAtLogin":false})";

std::optional<UserSettings> decoded(const std::string& bytes) {
  const auto result = decodeUserSettings(bytes);
  if (const auto* settings = std::get_if<UserSettings>(&result)) return *settings;
  EXPECT_LT(std::get<CodingError>(result).description.size(), 200U);  // whatever the document holds
  return std::nullopt;
}

std::string with(std::string_view from, std::string_view to) {
  std::string changed = document;
  changed.replace(changed.find(from), from.size(), to);
  return changed;
}

TEST(UserSettingsCoding, WritesACompactObjectAndReadsItBack) {
  EXPECT_EQ(std::get<std::string>(encodeUserSettings({.whitelist = {"com.apple.FaceTime"}})), document);

  const UserSettings unusual{.whitelist = {"", "unknown", "quote\" \\ \n é"},
                             .gestureWindowMs = std::numeric_limits<std::int64_t>::min(),
                             .bufferTimeoutMs = std::numeric_limits<std::int64_t>::max(),
                             .notificationsEnabled = false,
                             .soundEnabled = false,
                             .logRetentionDays = -1,
                             .launchAtLogin = true};
  EXPECT_EQ(decoded(std::get<std::string>(encodeUserSettings(unusual))), unusual);
}

TEST(UserSettingsCoding, ReadsAnyOrderAndSpacingAndIgnoresWhatItDoesNotKnow) {
  EXPECT_EQ(decoded(R"( { "later" : {"whitelist": [1, {"a": null}], "b": 1.5},
      "launchAtLogin" : true, "logRetentionDays":7, "soundEnabled":false, "notificationsEnabled":false,
      "bufferTimeoutMs" : 200, "gestureWindowMs":100, "whitelist" : ["b", "a", "b"], "more": 18446744073709551615 } )"),
            (UserSettings{.whitelist = {"a", "b"},
                          .gestureWindowMs = 100,
                          .bufferTimeoutMs = 200,
                          .notificationsEnabled = false,
                          .soundEnabled = false,
                          .logRetentionDays = 7,
                          .launchAtLogin = true}));
}

TEST(UserSettingsCoding, TakesTheLastOfMembersOfOneName) {
  const auto settings = decoded(with("{", R"({"whitelist":["earlier"],"gestureWindowMs":1,)"));
  EXPECT_EQ(settings, (UserSettings{.whitelist = {"com.apple.FaceTime"}}));
}

TEST(UserSettingsCoding, RefusesADocumentThatLacksAMember) {
  for (const char* member :
       {R"("whitelist")", R"("gestureWindowMs")", R"("bufferTimeoutMs")", R"("notificationsEnabled")",
        R"("soundEnabled")", R"("logRetentionDays")", R"("launchAtLogin")"}) {
    EXPECT_EQ(decoded(with(member, R"("somethingElse")")), std::nullopt) << member;
  }
}

TEST(UserSettingsCoding, RefusesValuesOfAnotherType) {
  const std::string number = R"("gestureWindowMs":500)";
  for (const char* value : {"500.0", "5e2", "true", "\"500\"", "null", "[500]", "{}", "9223372036854775808",
                            "-9223372036854775809", "1e400"}) {
    EXPECT_EQ(decoded(with(number, R"("gestureWindowMs":)" + std::string(value))), std::nullopt) << value;
  }
  for (const char* value : {"1", "0", "\"true\"", "null", "[]"}) {
    EXPECT_EQ(decoded(with(R"("launchAtLogin":false)", R"("launchAtLogin":)" + std::string(value))), std::nullopt)
        << value;
  }
  for (const char* value : {"\"com.apple.FaceTime\"", "[1]", "[null]", "[[\"a\"]]", "[{\"a\":\"b\"}]", "{}", "null"}) {
    EXPECT_EQ(decoded(with(R"(["com.apple.FaceTime"])", value)), std::nullopt) << value;
  }
}

TEST(UserSettingsCoding, RefusesWhatIsNoSuchDocument) {
  for (std::size_t length = 0; length < document.size(); ++length) {
    EXPECT_EQ(decoded(document.substr(0, length)), std::nullopt) << length;
  }
  for (const std::string& bytes :
       {std::string("null"), std::string("[]"), "[" + document + "]", document + ",", document + document,
        std::string(64, '\0'), with("FaceTime", "\xFF"), with("FaceTime", "\xED\xA0\x80")}) {
    EXPECT_EQ(decoded(bytes), std::nullopt) << bytes;
  }
}

TEST(UserSettingsCoding, SurvivesHostileDocuments) {
  for (const std::size_t levels : {511u, 512u, 1'000'000u}) {
    const std::string value = std::string(levels, '[') + std::string(levels, ']');
    EXPECT_EQ(decoded(with("{", R"({"unknown":)" + value + ",")).has_value(), levels == 511);
  }
  std::string deep;
  for (int i = 0; i < 1'000'000; ++i) deep += "{\"a\":";
  for (const std::string& bytes :
       {deep, '"' + std::string(1'000'000, 'a'), std::string(1'000'000, '1') + "}", std::string(1'000'000, '[')}) {
    EXPECT_EQ(decoded(R"({"unknown":)" + bytes), std::nullopt);
    EXPECT_EQ(decoded(bytes), std::nullopt);
  }
}

// What cannot be stored exactly is not stored: it would whitelist something else.
TEST(UserSettingsCoding, FailsForAnIdentifierThatIsNotUTF8) {
  EXPECT_TRUE(std::holds_alternative<CodingError>(encodeUserSettings({.whitelist = {"org.example.\xC3"}})));
}

}  // namespace
}  // namespace varnoletKit
