// How soon a thread gets a processor.
#pragma once

namespace platform::linux_desktop {

// Puts the calling thread before ordinary ones: on a busy machine it still has to close the gate before the focus has
// moved. Where the system does not let this process, the desktop's RealtimeKit service is asked, which nobody waits
// for; until that agrees, and if it refuses too, the thread stays ordinary.
void raisePriorityOfThisThread();

}  // namespace platform::linux_desktop
