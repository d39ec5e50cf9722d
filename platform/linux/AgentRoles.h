// The programs by which a desktop itself speaks to its user.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::linux_desktop {

// The identifier of the role that a program of that name plays: asking for passwords, locking the screen, showing
// notifications and so on. Absent for ordinary applications. `program` is the name of the executable file.
std::optional<std::string> agentRoleOf(std::string_view program);
// True for the identifier of a role that some program may play.
bool isAgentRole(std::string_view identifier);

}  // namespace platform::linux_desktop
