#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>

#include "platform/NSCalendar.h"

namespace platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using std::chrono::year;

// Local time is Berlin's: an hour ahead of UTC, two hours from 29 March to 25 October 2026.
class BerlinCalendar : public testing::Test {
 public:
  BerlinCalendar() {
    setenv("TZ", "Europe/Berlin", 1);  // NOLINT(concurrency-mt-unsafe)
    tzset();
  }
  ~BerlinCalendar() override {
    unsetenv("TZ");  // NOLINT(concurrency-mt-unsafe)
    tzset();
  }

  static Date utc(unsigned month, unsigned day, std::chrono::nanoseconds time) {
    return sys_days(year(2026) / std::chrono::month(month) / std::chrono::day(day)) + time;
  }
};

TEST_F(BerlinCalendar, keeps_the_local_time_of_day_over_a_daylight_saving_change) {
  ASSERT_EQ(dateByAddingDays(1, utc(3, 27, 11h)), utc(3, 28, 11h));
  EXPECT_EQ(dateByAddingDays(1, utc(3, 28, 11h)), utc(3, 29, 10h));
  EXPECT_EQ(dateByAddingDays(-1, utc(3, 29, 10h)), utc(3, 28, 11h));
  EXPECT_EQ(dateByAddingDays(1, utc(10, 24, 10h)), utc(10, 25, 11h));
  EXPECT_EQ(dateByAddingDays(-30, utc(4, 15, 10h)), utc(3, 16, 11h));
  EXPECT_EQ(dateByAddingDays(0, utc(7, 1, 10h)), utc(7, 1, 10h));
}

TEST_F(BerlinCalendar, carries_over_months_and_years_and_keeps_fractions_of_a_second) {
  EXPECT_EQ(dateByAddingDays(-59, utc(3, 1, 23h + 30min + 1ns)), utc(1, 1, 23h + 30min + 1ns));
  const auto beforeTheEpoch = dateByAddingDays(std::int64_t{-57} * 365, utc(1, 1, 12h + 1ms));
  ASSERT_TRUE(beforeTheEpoch);
  EXPECT_EQ(*beforeTheEpoch - std::chrono::floor<std::chrono::seconds>(*beforeTheEpoch), 1ms);
  EXPECT_LT(*beforeTheEpoch, Date{});
}

TEST_F(BerlinCalendar, has_no_date_so_far_away_that_a_clock_cannot_count_to_it) {
  const Date date = utc(1, 1, 0h);
  for (const std::int64_t days :
       {std::int64_t{200'000}, std::int64_t{4'000'000}, std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_EQ(dateByAddingDays(days, date), std::nullopt);
    EXPECT_EQ(dateByAddingDays(-days, date), std::nullopt);
  }
}

}  // namespace
}  // namespace platform
