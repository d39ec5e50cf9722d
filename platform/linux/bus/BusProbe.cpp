#include "platform/linux/bus/BusProbe.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <thread>

#include "platform/linux/base/FileDescriptor.h"

namespace platform::linux_desktop {
namespace {

using std::chrono::steady_clock;

struct SocketName {
  sockaddr_un address{};
  socklen_t length = 0;
};

// Absent if the address is of another kind.
std::optional<SocketName> socketNameIn(const QByteArray& address) {
  constexpr QByteArrayView unixSocket = "unix:";
  if (!address.startsWith(unixSocket)) return std::nullopt;
  for (const QByteArray& pair : address.mid(unixSocket.size()).split(',')) {
    const bool isAbstract = pair.startsWith("abstract=");
    if (!isAbstract && !pair.startsWith("path=")) continue;
    const auto bytes = (isAbstract ? QByteArray(1, '\0') : QByteArray()) +
                       QByteArray::fromPercentEncoding(pair.mid(pair.indexOf('=') + 1));
    SocketName name;
    name.address.sun_family = AF_UNIX;
    const auto size = static_cast<std::size_t>(bytes.size());
    if (size >= sizeof name.address.sun_path) return std::nullopt;
    std::copy(bytes.begin(), bytes.end(), name.address.sun_path);
    name.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size);
    return name;
  }
  return std::nullopt;
}

// Absent at once if nobody listens, and silent in the end if too many wait there.
BusState connectUntil(int descriptor, const SocketName& name, steady_clock::time_point deadline) {
  constexpr auto pause = std::chrono::milliseconds(10);
  while (::connect(descriptor, reinterpret_cast<const sockaddr*>(&name.address), name.length) != 0) {
    if (errno != EAGAIN) return BusState::absent;
    if (steady_clock::now() + pause > deadline) return BusState::silent;
    std::this_thread::sleep_for(pause);
  }
  return BusState::answering;
}

// Asks which ways to prove who one is there are, with which every conversation may begin.
BusState askUntil(int descriptor, steady_clock::time_point deadline) {
  constexpr char question[] = "\0AUTH\r\n";
  constexpr std::size_t length = sizeof question - 1;
  if (::send(descriptor, question, length, MSG_NOSIGNAL) != static_cast<ssize_t>(length)) return BusState::absent;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
  pollfd answer{descriptor, POLLIN, 0};
  const bool isAnswered = ::poll(&answer, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0))) == 1;
  return isAnswered ? BusState::answering : BusState::silent;
}

}  // namespace

BusState probeBus(const QString& address, std::chrono::milliseconds patience) {
  const auto deadline = steady_clock::now() + patience;
  // A client takes the first that it can connect to.
  for (const QByteArray& part : address.toLocal8Bit().split(';')) {
    const auto name = socketNameIn(part);
    if (!name) return BusState::answering;
    const FileDescriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!descriptor.isOpen()) return BusState::absent;
    const BusState state = connectUntil(descriptor.get(), *name, deadline);
    if (state == BusState::silent) return state;
    if (state == BusState::answering) return askUntil(descriptor.get(), deadline);
  }
  return BusState::absent;
}

}  // namespace platform::linux_desktop
