// Whether a bus can be connected to without waiting for long.
#pragma once

#include <QString>
#include <chrono>

namespace platform::linux_desktop {

// Any thread. True if a bus at that address answers within `patience`. Qt gives a bus all the time that it likes to
// answer, and lets nobody use any of its connections meanwhile, so this is to be asked before. Only sockets of this
// machine are asked; an address of another kind counts as answering.
bool isBusAnswering(const QString& address, std::chrono::milliseconds patience);

}  // namespace platform::linux_desktop
