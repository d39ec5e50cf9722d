// Lets the main thread's event loop run during a test.
#pragma once

#include <chrono>
#include <functional>

namespace platform::linux_desktop {

// Runs the event loop until `done` holds; false if that takes longer than `limit`.
bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(5));
void runFor(std::chrono::milliseconds duration);

}  // namespace platform::linux_desktop
