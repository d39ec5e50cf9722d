#include "varnoletKit/ISO8601.h"

#include <algorithm>
#include <chrono>

namespace varnoletKit {
namespace {

using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

// Takes apart a text whose every part has its place and its width.
class FixedFormText {
 public:
  explicit FixedFormText(std::string_view text) : rest_(text) {}

  bool skip(char expected) {
    if (rest_.empty() || rest_.front() != expected) return false;
    rest_.remove_prefix(1);
    return true;
  }
  // A number of exactly `width` digits and at most `largest`.
  std::optional<int> number(std::size_t width, int largest) {
    if (rest_.size() < width) return std::nullopt;
    int value = 0;
    for (const char digit : rest_.substr(0, width)) {
      if (digit < '0' || digit > '9') return std::nullopt;
      value = value * 10 + (digit - '0');
    }
    rest_.remove_prefix(width);
    return value <= largest ? std::optional(value) : std::nullopt;
  }
  bool isAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

std::optional<sys_days> readDay(FixedFormText& text) {
  const auto year = text.number(4, 9999);
  if (!year || !text.skip('-')) return std::nullopt;
  const auto month = text.number(2, 12);
  if (!month || !text.skip('-')) return std::nullopt;
  const auto day = text.number(2, 31);
  if (!day) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  return date.ok() ? std::optional(sys_days(date)) : std::nullopt;
}

std::optional<seconds> readTimeOfDay(FixedFormText& text) {
  const auto hour = text.number(2, 23);
  if (!hour || !text.skip(':')) return std::nullopt;
  const auto minute = text.number(2, 59);
  if (!minute || !text.skip(':')) return std::nullopt;
  const auto second = text.number(2, 59);
  if (!second) return std::nullopt;
  return std::chrono::hours(*hour) + std::chrono::minutes(*minute) + seconds(*second);
}

// How far the local time written is ahead of UTC.
std::optional<seconds> readZone(FixedFormText& text) {
  if (text.skip('Z')) return seconds(0);
  const bool isAhead = text.skip('+');
  if (!isAhead && !text.skip('-')) return std::nullopt;
  const auto hours = text.number(2, 23);
  if (!hours || !text.skip(':')) return std::nullopt;
  const auto minutes = text.number(2, 59);
  if (!minutes) return std::nullopt;
  const seconds offset = std::chrono::hours(*hours) + std::chrono::minutes(*minutes);
  return isAhead ? offset : -offset;
}

void appendNumber(std::string& text, int value, std::size_t width) {
  const std::string digits = std::to_string(value);
  text.append(width - std::min(width, digits.size()), '0').append(digits);
}

}  // namespace

std::string iso8601String(platform::Date date) {
  const sys_seconds time = std::chrono::floor<seconds>(date);
  const sys_days day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss clock(time - day);

  std::string text;
  appendNumber(text, static_cast<int>(calendar.year()), 4);
  appendNumber(text += '-', static_cast<int>(static_cast<unsigned>(calendar.month())), 2);
  appendNumber(text += '-', static_cast<int>(static_cast<unsigned>(calendar.day())), 2);
  appendNumber(text += 'T', static_cast<int>(clock.hours().count()), 2);
  appendNumber(text += ':', static_cast<int>(clock.minutes().count()), 2);
  appendNumber(text += ':', static_cast<int>(clock.seconds().count()), 2);
  return text += 'Z';
}

std::optional<platform::Date> dateFromISO8601(std::string_view text) {
  FixedFormText rest(text);
  const auto day = readDay(rest);
  if (!day || !rest.skip('T')) return std::nullopt;
  const auto timeOfDay = readTimeOfDay(rest);
  if (!timeOfDay) return std::nullopt;
  const auto zone = readZone(rest);
  if (!zone || !rest.isAtEnd()) return std::nullopt;

  const sys_seconds time = *day + *timeOfDay - *zone;
  constexpr auto earliest = std::chrono::ceil<seconds>(platform::Date::min());
  constexpr auto latest = std::chrono::floor<seconds>(platform::Date::max());
  if (time < earliest || time > latest) return std::nullopt;
  return platform::Date(time);
}

}  // namespace varnoletKit
