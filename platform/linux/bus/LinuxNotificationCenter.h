// Notifications through the desktop's notification server, org.freedesktop.Notifications on the session bus.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <variant>

#include "platform/UNUserNotificationCenter.h"

namespace platform::linux_desktop {

// Main thread; the handlers and the delegate are called there too, from the event loop. Nothing waits for the server.
//
// Every request asks first which server there is and what it can do, which starts one that the bus knows how to start,
// and then speaks to that very server: so one that came in its place is never taken for it. Answers of the user count
// only if that server sent them. Banners are shown whoever is in front, so the delegate is not asked about that.
//
// Of each thread one request is under way at a time, and only the newest waits for its turn, so that a flood of thefts
// is neither a pile of banners nor a queue that the server works off long afterwards.
class LinuxNotificationCenter : public QObject, public UNUserNotificationCenter {
  Q_OBJECT

 public:
  // As long as the bus gives a service that it starts.
  static constexpr std::chrono::milliseconds usualPatience = std::chrono::seconds(25);

  // `patience`: how long a server may take for each answer.
  explicit LinuxNotificationCenter(const std::string& applicationIdentifier,
                                   std::chrono::milliseconds patience = usualPatience);
  ~LinuxNotificationCenter() override;

  void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override;
  // Granted if there is a server: users do not have to allow notifications here. Whatever the options.
  void requestAuthorizationWithOptions(
      UNAuthorizationOptions options,
      std::function<void(bool granted, const std::optional<NSError>& error)> completionHandler) override;
  void setNotificationCategories(std::vector<UNNotificationCategory> categories) override;
  void addNotificationRequest(UNNotificationRequest request,
                              std::function<void(const std::optional<NSError>& error)> withCompletionHandler) override;

 private:
  struct Server {
    QString name;  // its own on the bus, never given twice
    QStringList capabilities;
  };
  using ServerAnswer = std::variant<NSError, Server>;
  struct Post {
    UNNotificationRequest request;
    std::function<void(const std::optional<NSError>& error)> completionHandler;
  };

  Q_SLOT void actionInvoked(const QDBusMessage& signal);
  Q_SLOT void notificationClosed(const QDBusMessage& signal);

  // Calls `then` once the bus is connected or has turned out not to be there.
  void whenConnected(std::function<void()> then);
  void connectionAttempted();
  void askForServer(std::function<void(const ServerAnswer&)> then);
  void start(Post post);
  void send(const Post& post, const Server& server);
  // Tells what became of it, and starts the one that waited for that.
  void finish(const Post& post, const std::optional<NSError>& error);
  QDBusMessage notifyCall(const UNNotificationRequest& request, const Server& server) const;
  // The number of what the server shows of that thread; 0 if nothing.
  std::uint32_t shownOf(const std::string& thread) const;
  QStringList actionsOf(const std::string& categoryIdentifier) const;
  void remember(std::uint32_t number, const UNNotificationRequest& request);
  // True for a signal of these arguments from the server that has our notifications.
  bool isFromServer(const QDBusMessage& signal, const char* signature) const;

  const std::string applicationIdentifier_;
  const int patienceMs_;
  QDBusConnection bus_;
  std::vector<std::function<void()>> waiting_;  // for the connection
  std::weak_ptr<UNUserNotificationCenterDelegate> delegate_;
  std::vector<UNNotificationCategory> categories_;
  // The server asked last, and what it shows of ours, by the numbers that it gave.
  QString serverName_;
  std::map<std::uint32_t, UNNotificationRequest> posted_;
  // The threads of which one is under way, each with the newest that waits.
  std::map<std::string, std::optional<Post>> underWay_;
};

}  // namespace platform::linux_desktop
