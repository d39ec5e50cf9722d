// Calls over D-Bus that nobody waits for.
#pragma once

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>
#include <functional>
#include <utility>

namespace platform::linux_desktop {

// Where this user's session bus is; empty if there is none: the D-Bus library would start one of its own.
QString sessionBusAddress();

// Nobody finds the session bus through the environment any more; sessionBusAddress() goes on telling where it is if
// `isKept`. Before there are threads that read the environment.
void hideSessionBusFromToolkit(bool isKept);

// Where the system's bus is.
QString systemBusAddress();

// Connects to the bus at that address, under that name of the connection, on a thread that nobody waits for, not even
// at the end of the program: a bus may let its clients wait for long. A connection of that name is closed before. Calls
// `then` in the event loop when it is decided, unless `context` is gone by then; whether the connection is there, it
// says itself. An empty address is no bus.
void connectInBackground(const QString& address, const QString& connectionName, QObject* context,
                         std::function<void()> then);

// Calls `handle` with the pending call once it is answered, unless `context` is gone by then.
template <class Handler>
void whenAnswered(const QDBusPendingCall& call, QObject* context, Handler handle) {
  auto* watcher = new QDBusPendingCallWatcher(call, context);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, handle = std::move(handle)] {
    watcher->deleteLater();
    handle(*watcher);
  });
}

}  // namespace platform::linux_desktop
