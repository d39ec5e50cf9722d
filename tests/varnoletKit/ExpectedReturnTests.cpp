#include <gtest/gtest.h>

#include "varnoletKit/ExpectedReturn.h"

namespace varnoletKit {
namespace {

TEST(ExpectedReturn, LastsUntilTheLastOfThoseThatWaitForTheSameProcessLetsGo) {
  ExpectedReturn expected;
  EXPECT_EQ(expected.pid(), 0);
  auto first = expected.expect(7);
  auto second = expected.expect(7);
  first.reset();
  EXPECT_EQ(expected.pid(), 7);
  EXPECT_TRUE(expected.isCurrent(second));
  second.reset();
  EXPECT_EQ(expected.pid(), 0);
}

TEST(ExpectedReturn, OneThatWasEndedOrReplacedHasNoPartInALaterOne) {
  ExpectedReturn expected;
  auto ended = expected.expect(7);
  expected.end();
  EXPECT_EQ(expected.pid(), 0);
  auto replaced = expected.expect(7);
  EXPECT_FALSE(expected.isCurrent(ended)) << "the same process, but another theft";
  EXPECT_TRUE(expected.isCurrent(replaced));
  const auto current = expected.expect(8);
  EXPECT_FALSE(expected.isCurrent(replaced));
  ended.reset();
  replaced.reset();
  EXPECT_EQ(expected.pid(), 8);
}

}  // namespace
}  // namespace varnoletKit
