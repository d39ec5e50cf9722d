// The program that a process runs, as the kernel tells it.
#pragma once

#include <sys/types.h>

#include <string>

namespace platform::linux_desktop {

// File names without their folders.
struct ProcessProgram {
  std::string executable;  // empty if it cannot be known, as for a process that forbids others to look into it
  std::string script;      // what an interpreter runs; empty for other programs, and for code without a file
};

// Any thread. Reads /proc each time.
ProcessProgram programOf(pid_t process);

}  // namespace platform::linux_desktop
