// Typing and thefts planned ahead, with random times that a seed fixes.
#pragma once

#include <chrono>
#include <cstdint>
#include <random>
#include <vector>

#include "tools/stage/Actors.h"
#include "tools/stage/Typist.h"

namespace stage {

using Moment = std::chrono::microseconds;

struct Step {
  enum class Kind { press, release, theft };
  Moment at{0};
  Kind kind = Kind::press;
  KeyCode key = 0;
  Theft theft = Theft::byRequest;
};
using Schedule = std::vector<Step>;

struct TypingStyle {
  // Keys a second: each stretch of typing has a pace of its own between these.
  double slowest = 20;
  double fastest = 500;
};

// `count` keys that each write a character, many pressed before the last one is released.
Schedule typing(std::mt19937& random, std::size_t count, TypingStyle style);
// `count` thefts at random times until `end`, at least 100 ms apart, each in one of these ways.
Schedule thefts(std::mt19937& random, std::size_t count, Moment end, const std::vector<Theft>& ways);
// Both in order of time.
Schedule together(Schedule a, const Schedule& b);
Moment endOf(const Schedule& schedule);

// Returns when all of it was done.
void play(const Schedule& schedule, Typist& typist, Actor& thief);

}  // namespace stage
