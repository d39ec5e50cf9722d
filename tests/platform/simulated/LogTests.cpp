#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "platform/Log.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform {
namespace {

using simulated::LogLine;
using simulated::SimulatedDesktop;

TEST(Log, puts_arguments_of_every_kind_in_their_places) {
  SimulatedDesktop desktop;
  const Logger logger(LogCategory::buffer);
  logger.debug("%s took %ldms, %d polls, type=%u, a=%{bool}d b=%{bool}d.", std::string("Näme"),
               std::numeric_limits<std::int64_t>::min(), -25204, 0xFFFFFFFEU, true, false);
  logger.info("⚡️ nothing to fill in: %s%s|", "", std::string_view("%s"));
  logger.standard("100");
  logger.error("%u", std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(desktop.logLines(),
            (std::vector<LogLine>{
                {LogCategory::buffer, LogLevel::debug,
                 "Näme took -9223372036854775808ms, -25204 polls, type=4294967294, a=true b=false."},
                {LogCategory::buffer, LogLevel::info, "⚡️ nothing to fill in: %s|"},
                {LogCategory::buffer, LogLevel::standard, "100"},
                {LogCategory::buffer, LogLevel::error, "18446744073709551615"},
            }));
}

TEST(Log, a_level_that_is_off_writes_nothing_and_no_other_level_or_category_is_touched) {
  SimulatedDesktop desktop;
  const Logger focus(LogCategory::focus);
  const Logger gesture(LogCategory::gesture);
  desktop.switchLogLevel(LogCategory::focus, LogLevel::info, false);
  focus.info("a");
  focus.debug("b");
  gesture.info("c");
  desktop.switchLogLevel(LogCategory::focus, LogLevel::info, true);
  focus.info("d");
  EXPECT_EQ(desktop.logMessages(LogCategory::focus), (std::vector<std::string>{"b", "d"}));
  EXPECT_EQ(desktop.logMessages(LogCategory::gesture), std::vector<std::string>{"c"});
}

}  // namespace
}  // namespace platform
