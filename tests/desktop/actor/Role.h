// The parts that an actor can play. An actor is a process of its own, because that is what the guard knows an
// application by. It takes commands on standard input, one a line, answers each with "done", and reports on standard
// output:
//   window <id>                          its main window is there (decimal)
//   focus in | focus out                 one of its windows got or lost the focus
//   press <key> <state> <keysym>         a key that it was given; release likewise
//   grabbed <status> | ungrabbed         the grabber's
#pragma once

#include <memory>
#include <string>

#include "ActorWindow.h"
#include "tests/desktop/stage/XConnection.h"

namespace stage {

class Role {
 public:
  Role() = default;
  Role(const Role&) = delete;
  Role& operator=(const Role&) = delete;
  virtual ~Role() = default;

  // A command's name and the rest of its line.
  virtual void obey(const std::string& command, const std::string& argument) = 0;
};

// Commands: none. Its window is mapped from the start.
std::unique_ptr<Role> makeEditor(const XConnection& connection, const Looks& looks);
// Its main window is mapped from the start. Commands: request <source>, focus, map (a new window in place of the last
// one), unmap, modest (as map, but a window that wants no focus), nudge <window> (request activation of another's).
std::unique_ptr<Role> makeThief(const XConnection& connection, const Looks& looks);
// Commands: grab, ungrab.
std::unique_ptr<Role> makeGrabber(const XConnection& connection, const Looks& looks);

void report(const std::string& line);

}  // namespace stage
