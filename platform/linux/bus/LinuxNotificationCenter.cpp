#include "platform/linux/bus/LinuxNotificationCenter.h"

#include <QDBusError>
#include <QDBusPendingReply>
#include <QTimer>
#include <QVariantMap>
#include <algorithm>
#include <utility>

#include "platform/linux/base/NotificationText.h"
#include "platform/linux/base/ProgramName.h"
#include "platform/linux/bus/DBusCalls.h"

namespace platform::linux_desktop {
namespace {

// A server that does not tell when it closes notifications must not fill the memory.
constexpr std::size_t mostPosted = 256;
constexpr int serverDecides = -1;
const auto connectionName = QStringLiteral("varnolet-notifications");
const auto noConnection = QStringLiteral("varnolet-none");
const auto serviceName = QStringLiteral("org.freedesktop.Notifications");
const auto objectPath = QStringLiteral("/org/freedesktop/Notifications");

NSError errorOf(const QDBusError& error) {
  const QString description = error.message().isEmpty() ? error.name() : error.message();
  return {description.toStdString()};
}

}  // namespace

LinuxNotificationCenter::LinuxNotificationCenter(const std::string& applicationIdentifier,
                                                 std::chrono::milliseconds patience)
    : applicationIdentifier_(applicationIdentifier),
      patienceMs_(static_cast<int>(patience.count())),
      bus_(noConnection) {}

LinuxNotificationCenter::~LinuxNotificationCenter() {
  QDBusConnection::disconnectFromBus(connectionName);
}

void LinuxNotificationCenter::setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) {
  delegate_ = std::move(delegate);
}

void LinuxNotificationCenter::setNotificationCategories(std::vector<UNNotificationCategory> categories) {
  categories_ = std::move(categories);
}

void LinuxNotificationCenter::requestAuthorizationWithOptions(
    UNAuthorizationOptions, std::function<void(bool granted, const std::optional<NSError>& error)> completionHandler) {
  askForServer([completionHandler = std::move(completionHandler)](const ServerAnswer& answer) {
    if (const auto* error = std::get_if<NSError>(&answer)) {
      completionHandler(false, *error);
    } else {
      completionHandler(true, std::nullopt);
    }
  });
}

void LinuxNotificationCenter::addNotificationRequest(
    UNNotificationRequest request, std::function<void(const std::optional<NSError>& error)> withCompletionHandler) {
  Post post{std::move(request), std::move(withCompletionHandler)};
  const std::string& thread = post.request.content.threadIdentifier;
  if (thread.empty()) {
    start(std::move(post));
  } else if (const auto [waiting, isFirst] = underWay_.try_emplace(thread); isFirst) {
    start(std::move(post));
  } else {
    const auto superseded = std::exchange(waiting->second, std::move(post));
    // Later, as everything that is told.
    if (superseded) QTimer::singleShot(0, this, [handler = superseded->completionHandler] { handler(std::nullopt); });
  }
}

void LinuxNotificationCenter::start(Post post) {
  askForServer([this, post = std::move(post)](const ServerAnswer& answer) {
    if (const auto* error = std::get_if<NSError>(&answer)) {
      finish(post, *error);
    } else {
      send(post, std::get<Server>(answer));
    }
  });
}

void LinuxNotificationCenter::finish(const Post& post, const std::optional<NSError>& error) {
  if (const auto found = underWay_.find(post.request.content.threadIdentifier); found != underWay_.end()) {
    if (auto next = std::exchange(found->second, std::nullopt)) {
      start(std::move(*next));
    } else {
      underWay_.erase(found);
    }
  }
  post.completionHandler(error);
}

void LinuxNotificationCenter::whenConnected(std::function<void()> then) {
  if (bus_.isConnected()) {
    then();
    return;
  }
  waiting_.push_back(std::move(then));
  if (waiting_.size() == 1) {
    connectInBackground(sessionBusAddress(), connectionName, this, [this] { connectionAttempted(); });
  }
}

void LinuxNotificationCenter::connectionAttempted() {
  bus_ = QDBusConnection(connectionName);
  serverName_.clear();
  posted_.clear();
  // Of any sender: to name the server here would mean to wait until the bus has told who that is.
  for (const auto& [signal, slot] : {std::pair("ActionInvoked", SLOT(actionInvoked(QDBusMessage))),
                                     std::pair("NotificationClosed", SLOT(notificationClosed(QDBusMessage)))}) {
    bus_.connect(QString(), objectPath, serviceName, QLatin1String(signal), this, slot);
  }
  for (const auto& then : std::exchange(waiting_, {})) then();
}

void LinuxNotificationCenter::askForServer(std::function<void(const ServerAnswer&)> then) {
  whenConnected([this, then = std::move(then)] {
    if (!bus_.isConnected()) {
      then(NSError{"the session bus cannot be reached"});
      return;
    }
    const auto question =
        QDBusMessage::createMethodCall(serviceName, objectPath, serviceName, QStringLiteral("GetCapabilities"));
    whenAnswered(bus_.asyncCall(question, patienceMs_), this,
                 [this, then](const QDBusPendingReply<QStringList>& answer) {
                   if (answer.isError()) {
                     then(errorOf(answer.error()));
                     return;
                   }
                   const Server server{answer.reply().service(), answer.value()};
                   if (server.name != serverName_) posted_.clear();
                   serverName_ = server.name;
                   then(server);
                 });
  });
}

void LinuxNotificationCenter::send(const Post& post, const Server& server) {
  whenAnswered(bus_.asyncCall(notifyCall(post.request, server), patienceMs_), this,
               [this, post](const QDBusPendingReply<std::uint32_t>& answer) {
                 if (answer.isError()) {
                   finish(post, errorOf(answer.error()));
                   return;
                 }
                 if (answer.reply().service() == serverName_) remember(answer.value(), post.request);
                 finish(post, std::nullopt);
               });
}

std::uint32_t LinuxNotificationCenter::shownOf(const std::string& thread) const {
  constexpr std::uint32_t none = 0;
  if (thread.empty()) return none;
  const auto isOfThread = [&](const auto& shown) { return shown.second.content.threadIdentifier == thread; };
  const auto shown = std::ranges::find_if(posted_, isOfThread);
  return shown == posted_.end() ? none : shown->first;
}

QDBusMessage LinuxNotificationCenter::notifyCall(const UNNotificationRequest& request, const Server& server) const {
  const auto& content = request.content;
  const QString body = bodyText(content.body);
  const bool takesMarkup = server.capabilities.contains(QStringLiteral("body-markup"));
  const bool takesActions = server.capabilities.contains(QStringLiteral("actions"));
  const auto identifier = QString::fromStdString(applicationIdentifier_);
  QVariantMap hints{{QStringLiteral("desktop-entry"), identifier}};
  if (content.sound) {
    hints[QStringLiteral("sound-name")] = QStringLiteral("message-new-instant");
  } else {
    hints[QStringLiteral("suppress-sound")] = true;
  }

  auto call = QDBusMessage::createMethodCall(server.name, objectPath, serviceName, QStringLiteral("Notify"));
  call << QString::fromStdString(programNameOf(applicationIdentifier_)) << shownOf(content.threadIdentifier)
       << identifier  // as its icon
       << titleText(content.title) << (takesMarkup ? escapedForMarkup(body) : body)
       << (takesActions ? actionsOf(content.categoryIdentifier) : QStringList()) << hints << serverDecides;
  return call;
}

QStringList LinuxNotificationCenter::actionsOf(const std::string& categoryIdentifier) const {
  QStringList actions;
  const auto category = std::ranges::find(categories_, categoryIdentifier, &UNNotificationCategory::identifier);
  if (category == categories_.end()) return actions;
  for (const auto& action : category->actions) {
    actions << QString::fromStdString(action.identifier) << QString::fromStdString(action.title);
  }
  return actions;
}

void LinuxNotificationCenter::remember(std::uint32_t number, const UNNotificationRequest& request) {
  posted_.erase(shownOf(request.content.threadIdentifier));  // the server may give its successor another number
  if (posted_.size() >= mostPosted) posted_.erase(posted_.begin());
  posted_.insert_or_assign(number, request);
}

bool LinuxNotificationCenter::isFromServer(const QDBusMessage& signal, const char* signature) const {
  return signal.service() == serverName_ && signal.signature() == QLatin1String(signature);
}

void LinuxNotificationCenter::actionInvoked(const QDBusMessage& signal) {
  if (!isFromServer(signal, "us")) return;
  const auto arguments = signal.arguments();
  const auto found = posted_.find(arguments.at(0).toUInt());
  const auto delegate = delegate_.lock();
  if (found == posted_.end() || !delegate) return;
  delegate->userNotificationCenterDidReceiveNotificationResponse(
      *this, {{found->second}, arguments.at(1).toString().toStdString()}, [] {});
}

void LinuxNotificationCenter::notificationClosed(const QDBusMessage& signal) {
  if (isFromServer(signal, "uu")) posted_.erase(signal.arguments().at(0).toUInt());
}

}  // namespace platform::linux_desktop
