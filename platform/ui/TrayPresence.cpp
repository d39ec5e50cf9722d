#include "platform/ui/TrayPresence.h"

#include <xcb/xfixes.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

#include "platform/ui/ToolkitConnection.h"

namespace platform::ui {
namespace {

constexpr char watcherService[] = "org.kde.StatusNotifierWatcher";
constexpr char watcherPath[] = "/StatusNotifierWatcher";
constexpr int patienceMs = 2000;
constexpr int laterPatienceMs = 30000;

xcb_window_t rootWindow() {
  return xcb_setup_roots_iterator(xcb_get_setup(xConnection())).data->root;
}

}  // namespace

TrayPresence::TrayPresence(std::function<void(TrayKind)> onAppearance)
    : onAppearance_(std::move(onAppearance)),
      bus_(QDBusConnection::sessionBus()),
      watcher_(watcherService, bus_, QDBusServiceWatcher::WatchForRegistration) {
  // Without a window system there is no tray of either kind.
  if (!xConnection()) return;
  watchEmbeddingTray();
  connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &TrayPresence::askForHost);
  bus_.connect(watcherService, watcherPath, watcherService, QStringLiteral("StatusNotifierHostRegistered"), this,
               SLOT(askForHost()));
  askForHost();
}

TrayPresence::~TrayPresence() {
  if (QCoreApplication::instance()) QCoreApplication::instance()->removeNativeEventFilter(this);
}

void TrayPresence::askForHost() {
  if (!bus_.isConnected()) {
    // A question to no bus is never answered, not even with an error.
    QMetaObject::invokeMethod(this, "thereIsNoBus", Qt::QueuedConnection);
    return;
  }
  auto question = QDBusMessage::createMethodCall(
      watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  question << QString(watcherService) << QStringLiteral("IsStatusNotifierHostRegistered");
  auto* answer =
      new QDBusPendingCallWatcher(bus_.asyncCall(question, isBusKnown_ ? laterPatienceMs : patienceMs), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
    answer->deleteLater();
    const QDBusPendingReply<QDBusVariant> reply = *answer;
    hostAnswered(!reply.isError() && reply.value().variant().toBool());
    // One that is busy, as many are when a session begins, is no answer for good.
    if (reply.error().type() == QDBusError::NoReply || reply.error().type() == QDBusError::Timeout) askForHost();
  });
}

void TrayPresence::hostAnswered(bool isThere) {
  const bool isFirstAnswer = !std::exchange(isBusKnown_, true);
  if (isThere) {
    onAppearance_(TrayKind::statusNotifier);
  } else if (isFirstAnswer) {
    lookForEmbeddingTray();
  }
}

// A tray of this kind owns a selection of the screen.
void TrayPresence::watchEmbeddingTray() {
  auto* connection = xConnection();
  const QByteArray name = "_NET_SYSTEM_TRAY_S0";
  const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
  const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
  if (!atom || !extension || !extension->present) return;
  traySelection_ = atom->atom;
  selectionEvent_ = static_cast<std::uint8_t>(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
  const Reply<xcb_xfixes_query_version_reply_t> version(
      xcb_xfixes_query_version_reply(connection, xcb_xfixes_query_version(connection, 1, 0), nullptr));
  xcb_xfixes_select_selection_input(connection, rootWindow(), traySelection_,
                                    XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
  xcb_flush(connection);
  QCoreApplication::instance()->installNativeEventFilter(this);
}

bool TrayPresence::hasEmbeddingTray() const {
  if (traySelection_ == 0) return false;
  auto* connection = xConnection();
  const Reply<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, traySelection_), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

void TrayPresence::lookForEmbeddingTray() {
  if (isBusKnown_ && hasEmbeddingTray()) onAppearance_(TrayKind::embedding);
}

bool TrayPresence::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  if ((event->response_type & 0x7f) == selectionEvent_ &&
      reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event)->selection == traySelection_) {
    QMetaObject::invokeMethod(this, "lookForEmbeddingTray", Qt::QueuedConnection);
  }
  return false;
}

}  // namespace platform::ui
