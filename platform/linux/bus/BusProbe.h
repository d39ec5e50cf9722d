// Whether a bus can be connected to without waiting for long.
#pragma once

#include <QString>
#include <chrono>

namespace platform::linux_desktop {

enum class BusState { absent, silent, answering };

// Any thread. Whether a bus at that address answers within `patience`, takes connections only, or does not even do
// that. Qt gives a bus all the time that it likes to answer, and lets nobody use any of its connections meanwhile, so
// this is to be asked before. Only sockets of this machine are asked; an address of another kind counts as answering.
BusState probeBus(const QString& address, std::chrono::milliseconds patience);

inline bool isBusAnswering(const QString& address, std::chrono::milliseconds patience) {
  return probeBus(address, patience) == BusState::answering;
}

}  // namespace platform::linux_desktop
