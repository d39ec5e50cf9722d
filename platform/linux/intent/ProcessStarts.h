// When a process started, and those that started it.
#pragma once

#include <sys/types.h>

#include <vector>

#include "platform/linux/intent/Activation.h"

namespace platform::linux_desktop {

// The start of the process, of its parent and so on, as far as they are not before `earliest`; nothing where the
// process is gone. Up to 10 ms too early, which is how exactly the kernel tells. Reads /proc; any thread.
std::vector<Moment> startsOf(pid_t process, Moment earliest);

}  // namespace platform::linux_desktop
