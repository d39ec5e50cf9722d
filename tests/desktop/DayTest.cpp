// A day at a desktop: what its user does is left alone, and what is done to the user is undone.
#include <gtest/gtest.h>

#include "tests/desktop/day/Cases.h"

namespace {

using namespace stage;
using day::Case;

class Day : public testing::TestWithParam<std::tuple<WindowManager, Case>> {};

TEST_P(Day, GoesByUndisturbed) {
  const auto& [manager, chosen] = GetParam();
  if (!chosen.appliesTo(manager)) GTEST_SKIP() << nameOf(manager) << " has nothing of the kind";
  const auto verdict = day::play(chosen, manager);
  EXPECT_EQ(verdict.ending, day::Ending::well) << nameOf(verdict.ending) << ": " << verdict.account;
}

INSTANTIATE_TEST_SUITE_P(Of, Day,
                         testing::Combine(testing::Values(WindowManager::openbox, WindowManager::xfwm4,
                                                          WindowManager::metacity, WindowManager::i3),
                                          testing::ValuesIn(day::everyCase())),
                         [](const auto& day) {
                           return nameOf(std::get<0>(day.param)) + "_" + std::get<1>(day.param).name;
                         });

}  // namespace
