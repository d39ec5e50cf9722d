#include "MinimalDesktop.h"

#include <cstdio>
#include <cstdlib>

#include "platform/linux/threads/WorkerThreads.h"

namespace bench {
namespace {

[[noreturn]] void notHere(const char* what) {
  std::fprintf(stderr, "bench: the measured code asked for %s\n", what);
  std::abort();
}

}  // namespace

// As in the program when nobody has turned on more: debug messages are off.
MinimalDesktop::MinimalDesktop() {
  using platform::LogLevel;
  constexpr auto on = static_cast<std::uint8_t>(LogLevel::info) | static_cast<std::uint8_t>(LogLevel::standard) |
                      static_cast<std::uint8_t>(LogLevel::error);
  for (auto& levels : platform::enabledLogLevels) levels = on;
}

platform::EventServices& MinimalDesktop::events() {
  notHere("event services");
}
platform::RunLoops& MinimalDesktop::runLoops() {
  notHere("run loops");
}
platform::AccessibilityServices& MinimalDesktop::accessibility() {
  notHere("accessibility");
}
platform::BundleServices& MinimalDesktop::bundles() {
  notHere("bundles");
}
platform::UNUserNotificationCenter& MinimalDesktop::userNotificationCenter() {
  notHere("the user's notifications");
}
platform::SMAppService& MinimalDesktop::mainAppService() {
  notHere("the login item");
}
std::uint64_t MinimalDesktop::Tasks::uptimeNanoseconds() {
  return static_cast<std::uint64_t>(
      std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count());
}
std::unique_ptr<platform::DispatchQueue> MinimalDesktop::Tasks::createQueue(const std::string& label,
                                                                            platform::QualityOfService quality) {
  return std::make_unique<platform::linux_desktop::SerialQueue>(label, quality);
}

}  // namespace bench
