// Calls over D-Bus that nobody waits for.
#pragma once

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>
#include <utility>

namespace platform::linux_desktop {

// Where this user's session bus is; empty if there is none: the D-Bus library would start one of its own.
QString sessionBusAddress();

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
