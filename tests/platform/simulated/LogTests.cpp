#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Log.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform {
namespace {

using simulated::SimulatedDesktop;

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
