// The programs by which a desktop itself speaks to its user.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/applications/ProcessProgram.h"

namespace platform::linux_desktop {

// Any thread.

// The identifier of the role that a program plays: asking for passwords, locking the screen, showing notifications and
// so on. Absent for ordinary applications. Nothing that a program says of itself counts, only what it is.
std::optional<std::string> agentRoleOf(const ProcessProgram& program);
// The same, of a process. Reads /proc.
std::optional<std::string> agentRoleOfProcess(pid_t process);
// True for panels, docks and what else starts applications for the user. Reads /proc.
bool isLauncher(pid_t process);
// What a program that is not running would be: `name` is that of its executable file or script.
std::optional<std::string> agentRoleOfFile(std::string_view name);

// True for the identifier of a role that some program may play.
bool isAgentRole(std::string_view identifier);
// True for all that nothing but a role may be called.
bool isKeptForAgents(std::string_view identifier);

}  // namespace platform::linux_desktop
