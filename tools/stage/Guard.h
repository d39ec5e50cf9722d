// The program under test, running on a virtual desktop.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "tools/stage/ChildProcess.h"
#include "tools/stage/VirtualDesktop.h"

namespace stage {

// Started like a user's, with the information lines of its log switched on. The constructor returns once it guards;
// throws std::runtime_error, with what it wrote, if it never does. An environment variable VARNOLET_UNDER_TEST names
// another program to put in its place; that one says "FocusGuardEngine started" on standard error when it guards.
class Guard {
 public:
  // `besides`: variables of its environment that are not those of the desktop, or are others. An ordinary user gets the
  // desktop's folders.
  explicit Guard(const VirtualDesktop& desktop, const std::filesystem::path& program = programUnderTest(),
                 const Environment& besides = {}, bool isOrdinaryUser = false);

  static std::filesystem::path programUnderTest();

  ChildProcess& process() { return process_; }
  const ChildProcess& process() const { return process_; }
  Lines& log() const { return process_.errors(); }
  // Asks it to end, as a session does; how it did, absent if it has not.
  std::optional<Ending> stop();

 private:
  ChildProcess process_;
};

// Where a program run on that desktop keeps its blocked events.
std::filesystem::path blockedEventsFile(const VirtualDesktop& desktop);

}  // namespace stage
