// What was typed, for as long as it is needed and no longer.
#pragma once

#include <string.h>

namespace platform::linux_desktop {

// A plain value that is overwritten as it goes. In a record it makes every copy of the record do so: one on the stack,
// and one that a container drops or moves away from.
template <class T>
class Wiped {
 public:
  Wiped(T value) : value_(value) {}  // NOLINT(google-explicit-constructor)
  Wiped() = default;
  Wiped(const Wiped&) = default;
  Wiped& operator=(const Wiped&) = default;
  ~Wiped() { ::explicit_bzero(&value_, sizeof value_); }

  operator T() const { return value_; }  // NOLINT(google-explicit-constructor)

 private:
  T value_{};
};

}  // namespace platform::linux_desktop
