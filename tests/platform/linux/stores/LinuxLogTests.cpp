#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QLoggingCategory>
#include <algorithm>
#include <array>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/LogText.h"
#include "platform/linux/base/ReadableText.h"
#include "platform/linux/stores/LinuxLog.h"

namespace platform::linux_desktop {
namespace {

using testing::HasSubstr;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    reader = FileDescriptor(ends[0]);
    writer = FileDescriptor(ends[1]);
  }
  // What is written until the writer's end is closed.
  std::string readAll() const {
    std::string all;
    std::array<char, 4096> bytes{};
    for (ssize_t count = 0; (count = ::read(reader.get(), bytes.data(), bytes.size())) > 0;) {
      all.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return all;
  }
  FileDescriptor reader;
  FileDescriptor writer;
};

bool isOn(LogCategory category, LogLevel level) {
  return (enabledLogLevels[static_cast<std::size_t>(category)] & static_cast<std::uint8_t>(level)) != 0;
}

TEST(LinuxLogTest, AMessageBecomesOneLineWhateverIsInIt) {
  Pipe pipe;
  {
    LinuxLog log("app.varnolet.Varnolet", pipe.writer.get());
    log.write(LogCategory::focus, LogLevel::standard, "🔔 thief\n\x1b[2Jname\xff");
    log.write(LogCategory::buffer, LogLevel::error, std::string(100000, 'x'));
  }
  pipe.writer = FileDescriptor();
  const std::string lines = pipe.readAll();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
  EXPECT_THAT(lines, HasSubstr(" app.varnolet.Varnolet [focus] default: 🔔 thief\\x0a\\x1b[2Jname\uFFFD\n"));
  EXPECT_THAT(lines, HasSubstr(" [buffer] error: xxx"));
  EXPECT_LT(lines.size(), 5000u);
}

TEST(LinuxLogTest, TextThatCouldDeceiveAReaderIsEscaped) {
  EXPECT_EQ(singleLine("a\tb\u009bc\u2028d\u202ee"), "a\\x09b\\x9bc\\u2028d\\u202ee");
  EXPECT_EQ(singleLine("Ärger 👩‍💻 \xc3"), "Ärger 👩‍💻 \uFFFD");
}

TEST(ReadableText, WhatNobodySeesIsNoNameAndNoPartOfAnIdentifier) {
  for (const char* unseen :
       {"", " \t\u00a0", "\u200b\u2060\u00ad", "\u3164\u115f\u2800", "\u0301\ufe0f", "\U000e0041"}) {
    EXPECT_EQ(readableName(unseen), "") << unseen;
    EXPECT_EQ(readableIdentifier(unseen), "") << unseen;
  }
  EXPECT_EQ(readableName("می\u200cخواهم 👩\u200d💻 é"), "می\u200cخواهم 👩\u200d💻 é");
  EXPECT_EQ(readableIdentifier("org.\u200bexample\u00a0हिन्दी A 🔔"), "org.\uFFFDexample\uFFFDहिन्दी A 🔔");
}

TEST(LinuxLogTest, QtsRulesSwitchTheLevelsOfACategory) {
  Pipe pipe;
  {
    const LinuxLog log("test", pipe.writer.get());
    EXPECT_FALSE(isOn(LogCategory::buffer, LogLevel::debug));
    EXPECT_TRUE(isOn(LogCategory::buffer, LogLevel::info));
    EXPECT_TRUE(isOn(LogCategory::buffer, LogLevel::error));
  }
  EXPECT_FALSE(isOn(LogCategory::buffer, LogLevel::error)) << "without a log every level is off";
  QLoggingCategory::setFilterRules("app.varnolet.buffer.debug=true\napp.varnolet.focus.info=false");
  {
    const LinuxLog log("test", pipe.writer.get());
    EXPECT_TRUE(isOn(LogCategory::buffer, LogLevel::debug));
    EXPECT_FALSE(isOn(LogCategory::focus, LogLevel::info));
    EXPECT_TRUE(isOn(LogCategory::focus, LogLevel::standard));
  }
  QLoggingCategory::setFilterRules("");
}

TEST(LinuxLogTest, ATerminalThatTakesNothingHoldsNobodyUp) {
  Pipe stuck;
  const auto start = std::chrono::steady_clock::now();
  {
    LinuxLog log("test", stuck.writer.get());
    for (int i = 0; i < 20000; ++i) log.write(LogCategory::focus, LogLevel::info, std::string(100, 'x'));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST(LinuxLogTest, MessagesThatWereDroppedAreCounted) {
  Pipe slow;
  std::thread reader;
  std::string lines;
  {
    LinuxLog log("test", slow.writer.get());
    for (int i = 0; i < 20000; ++i) log.write(LogCategory::focus, LogLevel::info, std::string(100, 'x'));
    reader = std::thread([&] { lines = slow.readAll(); });
  }
  slow.writer = FileDescriptor();
  reader.join();
  EXPECT_NE(lines.find(" messages were dropped\n"), std::string::npos);
}

}  // namespace
}  // namespace platform::linux_desktop
