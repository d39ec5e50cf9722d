#include "tools/stage/Guard.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace stage {
namespace {

ChildProcess::Options talkative(const VirtualDesktop& desktop, const Environment& besides, bool isOrdinaryUser) {
  ChildProcess::Options options;
  options.environment = besides;
  options.environment.insert(desktop.environment().begin(), desktop.environment().end());
  options.environment["QT_LOGGING_RULES"] = "*.info=true;qt.*.info=false";
  options.readErrors = true;
  options.isOrdinaryUser = isOrdinaryUser;
  if (isOrdinaryUser && ::geteuid() == 0) desktop.giveFoldersTo(ordinaryUser);
  return options;
}

}  // namespace

Guard::Guard(const VirtualDesktop& desktop, const std::filesystem::path& program, const Environment& besides,
             bool isOrdinaryUser)
    : process_({program.string()}, talkative(desktop, besides, isOrdinaryUser)) {
  if (!log().waitFor("FocusGuardEngine started")) {
    throw std::runtime_error("the program under test does not guard:\n" + log().text());
  }
}

std::filesystem::path Guard::programUnderTest() {
  const char* other = std::getenv("VARNOLET_UNDER_TEST");  // NOLINT(concurrency-mt-unsafe)
  return other != nullptr ? other : VARNOLET_PROGRAM;
}

std::optional<Ending> Guard::stop() {
  process_.signal(SIGTERM);
  return process_.ending();
}

std::filesystem::path blockedEventsFile(const VirtualDesktop& desktop) {
  return desktop.home() / "data" / "Varnolet" / "blocked-events.json";
}

}  // namespace stage
