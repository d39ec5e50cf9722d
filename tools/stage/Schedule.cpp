#include "tools/stage/Schedule.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <thread>

namespace stage {
namespace {

Moment momentOf(double seconds) {
  return std::chrono::duration_cast<Moment>(std::chrono::duration<double>(seconds));
}

double between(std::mt19937& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

bool isEarlier(const Step& a, const Step& b) {
  return a.at < b.at;
}

}  // namespace

Schedule typing(std::mt19937& random, std::size_t count, TypingStyle style) {
  Schedule schedule;
  std::array<double, 256> freeFrom{};
  double now = 0.01;
  double stretchEnd = 0;
  double pace = 0;
  for (std::size_t typed = 0; typed < count; ++typed) {
    if (now >= stretchEnd) {
      stretchEnd = now + between(random, 0.3, 1.5);
      // More of the stretches are fast than slow.
      pace = 1 / (style.slowest + (style.fastest - style.slowest) * std::sqrt(between(random, 0, 1)));
    }
    KeyCode key = 0;
    do {
      key = characterKeys()[random() % characterKeys().size()];
    } while (freeFrom[key] >= now);
    const double up = now + pace * between(random, 0.2, 1.8);
    freeFrom[key] = up;
    schedule.push_back({momentOf(now), Step::Kind::press, key});
    schedule.push_back({momentOf(up), Step::Kind::release, key});
    now += pace * between(random, 0.5, 1.5);
  }
  std::stable_sort(schedule.begin(), schedule.end(), isEarlier);
  return schedule;
}

Schedule thefts(std::mt19937& random, std::size_t count, Moment end, const std::vector<Theft>& ways) {
  constexpr Moment atLeast = std::chrono::milliseconds(100);
  const double spread = std::chrono::duration<double>(end - atLeast * static_cast<int>(count)).count();
  std::vector<double> times(count);
  std::generate(times.begin(), times.end(), [&] { return between(random, 0, spread); });
  std::sort(times.begin(), times.end());
  Schedule schedule;
  for (std::size_t i = 0; i < count; ++i) {
    schedule.push_back(
        {momentOf(times[i]) + atLeast * static_cast<int>(i), Step::Kind::theft, 0, ways[random() % ways.size()]});
  }
  return schedule;
}

Schedule together(Schedule a, const Schedule& b) {
  a.insert(a.end(), b.begin(), b.end());
  std::stable_sort(a.begin(), a.end(), isEarlier);
  return a;
}

Moment endOf(const Schedule& schedule) {
  return schedule.empty() ? Moment{0} : schedule.back().at;
}

void play(const Schedule& schedule, Typist& typist, Actor& thief) {
  const auto start = std::chrono::steady_clock::now();
  for (const auto& step : schedule) {
    std::this_thread::sleep_until(start + step.at);
    switch (step.kind) {
      case Step::Kind::press:
        typist.press(step.key);
        break;
      case Step::Kind::release:
        typist.release(step.key);
        break;
      case Step::Kind::theft:
        steal(thief, step.theft);
        break;
    }
  }
}

}  // namespace stage
