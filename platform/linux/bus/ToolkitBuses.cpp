#include "platform/linux/bus/ToolkitBuses.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "platform/linux/bus/BusProbe.h"
#include "platform/linux/bus/DBusCalls.h"
#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds patience(1);
const auto connectionName = QStringLiteral("varnolet-toolkit");
const auto launcherName = QStringLiteral("org.a11y.Bus");

std::chrono::milliseconds timeUntil(steady_clock::time_point deadline) {
  using std::chrono::milliseconds;
  return std::max(std::chrono::duration_cast<milliseconds>(deadline - steady_clock::now()), milliseconds(1));
}

bool isSilent(const QString& address, steady_clock::time_point deadline) {
  return !address.isEmpty() && probeBus(address, timeUntil(deadline)) == BusState::silent;
}

// One that does not run is none that anybody waits for: the toolkit only looks whether it comes.
bool isLauncherSilent(const QDBusConnection& session, steady_clock::time_point deadline) {
  auto question = QDBusMessage::createMethodCall(launcherName, QStringLiteral("/org/a11y/bus"), launcherName,
                                                 QStringLiteral("GetAddress"));
  question.setAutoStartService(false);
  const QDBusReply<QString> address =
      session.call(question, QDBus::Block, static_cast<int>(timeUntil(deadline).count()));
  if (address.isValid()) return isSilent(address.value(), deadline);
  return address.error().type() == QDBusError::NoReply || address.error().type() == QDBusError::Timeout;
}

bool isAccessibilitySilent(XcbConnection& connection, const QString& session, steady_clock::time_point deadline) {
  const bool isSilentLauncher = isLauncherSilent(QDBusConnection::connectToBus(session, connectionName), deadline);
  QDBusConnection::disconnectFromBus(connectionName);
  if (isSilentLauncher) return true;
  // Programs of other users find the bus here.
  const auto address = textOf(connection, connection.root(), "AT_SPI_BUS");
  return address && isSilent(QString::fromStdString(*address), deadline);
}

}  // namespace

void hideSilentBusesFromToolkit(XcbConnection& connection) {
  const auto deadline = steady_clock::now() + patience;
  const QString session = sessionBusAddress();
  if (session.isEmpty()) {
    std::fputs("varnolet: there is no session bus; going on without notifications\n", stderr);
    hideSessionBusFromToolkit(false);
  } else if (!isBusAnswering(session, patience)) {
    std::fputs("varnolet: the session bus does not answer; going on without notifications\n", stderr);
    hideSessionBusFromToolkit(false);
  } else if (isAccessibilitySilent(connection, session, deadline)) {
    std::fputs("varnolet: the accessibility bus does not answer; going on without assistive programs\n", stderr);
    hideSessionBusFromToolkit(true);
  }
}

}  // namespace platform::linux_desktop
