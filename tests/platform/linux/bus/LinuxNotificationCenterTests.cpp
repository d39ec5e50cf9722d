#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include "platform/linux/base/NotificationText.h"
#include "platform/linux/bus/LinuxNotificationCenter.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/bus/NotificationServer.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

const QStringList everything{"body", "actions", "body-markup"};

class Choices : public UNUserNotificationCenterDelegate {
 public:
  void userNotificationCenterWillPresentNotification(
      UNUserNotificationCenter&, const UNNotification&,
      std::function<void(UNNotificationPresentationOptions)> completionHandler) override {
    completionHandler(0);
  }
  void userNotificationCenterDidReceiveNotificationResponse(UNUserNotificationCenter&,
                                                            const UNNotificationResponse& response,
                                                            std::function<void()> completionHandler) override {
    made.push_back(response.notification.request.identifier + ' ' + response.actionIdentifier + ' ' +
                   response.notification.request.content.value<std::string>("thief").value_or("nobody"));
    completionHandler();
  }
  std::vector<std::string> made;
};

class LinuxNotificationCenterTest : public testing::Test {
 protected:
  LinuxNotificationCenterTest() {
    center.setDelegate(choices);
    center.setNotificationCategories(
        {{.identifier = "BLOCK", .actions = {{"ALLOW", "Always Allow"}, {"DISMISS", "Dismiss"}}}});
  }

  static UNMutableNotificationContent content(const std::string& body = "body") {
    return {.title = "Blocked", .body = body, .categoryIdentifier = "BLOCK", .userInfo = {{"thief", "org.example"}}};
  }

  // The error, "" where there was none.
  std::string post(const std::string& identifier, UNMutableNotificationContent what = content()) {
    std::optional<std::string> result;
    center.addNotificationRequest({identifier, std::move(what)}, [&](const std::optional<NSError>& error) {
      result = error ? error->localizedDescription : "";
    });
    EXPECT_EQ(result, std::nullopt) << "told inside the call";
    EXPECT_TRUE(runUntil([&] { return result.has_value(); }));
    return result.value_or("no answer");
  }

  std::string authorization() {
    std::optional<std::string> result;
    center.requestAuthorizationWithOptions(7, [&](bool granted, const std::optional<NSError>& error) {
      EXPECT_EQ(granted, !error);
      result = error ? error->localizedDescription : "granted";
    });
    EXPECT_TRUE(runUntil([&] { return result.has_value(); }));
    return result.value_or("no answer");
  }

  PrivateBus bus;
  std::shared_ptr<Choices> choices = std::make_shared<Choices>();
  LinuxNotificationCenter center{"app.varnolet.Varnolet", 300ms};
};

TEST_F(LinuxNotificationCenterTest, ShowsTextActionsAndSoundAsTheServerCanTakeThem) {
  auto withSound = content("a & b <i>c</i>");
  withSound.sound = UNNotificationSound::defaultSound();
  {
    const NotificationServer server(bus, everything);
    ASSERT_EQ(post("1", withSound), "");
    ASSERT_EQ(server.shown().size(), 1u);
    const Shown& shown = server.shown().front();
    EXPECT_EQ(shown.program, "Varnolet");
    EXPECT_EQ(shown.replaces, 0u);
    EXPECT_EQ(shown.title, "Blocked");
    EXPECT_EQ(shown.body, "a &amp; b &lt;i&gt;c&lt;/i&gt;");
    EXPECT_EQ(shown.actions, QStringList({"ALLOW", "Always Allow", "DISMISS", "Dismiss"}));
    EXPECT_EQ(shown.hints,
              QVariantMap({{"desktop-entry", "app.varnolet.Varnolet"}, {"sound-name", "message-new-instant"}}));
  }
  const NotificationServer plain(bus, {"body"}, "test-plain");
  ASSERT_EQ(post("2", content("a & b <i>c</i>")), "") << "another server has come in the place of the first";
  ASSERT_EQ(plain.shown().size(), 1u);
  EXPECT_EQ(plain.shown().front().body, "a & b <i>c</i>");
  EXPECT_TRUE(plain.shown().front().actions.isEmpty());
  EXPECT_EQ(plain.shown().front().hints,
            QVariantMap({{"desktop-entry", "app.varnolet.Varnolet"}, {"suppress-sound", true}}));
}

TEST_F(LinuxNotificationCenterTest, TellsWhichNotificationTheUserAnswered) {
  const NotificationServer server(bus, everything);
  ASSERT_EQ(post("first"), "");
  ASSERT_EQ(post("second", {.title = "t"}), "");
  server.invokeAction(2, "default");
  server.invokeAction(1, "ALLOW");
  server.invokeAction(7, "ALLOW");
  server.close(1);
  server.invokeAction(1, "ALLOW");
  server.invokeAction(2, "last");
  ASSERT_TRUE(runUntil([&] { return !choices->made.empty() && choices->made.back() == "second last nobody"; }));
  EXPECT_THAT(choices->made, ElementsAre("second default nobody", "first ALLOW org.example", "second last nobody"));
}

TEST_F(LinuxNotificationCenterTest, ANewerNotificationOfAThreadReplacesTheOlderOneHoweverManyCome) {
  const NotificationServer server(bus, everything);
  int told = 0;
  for (int i = 1; i <= 1000; ++i) {
    for (const char* thief : {"A", "B"}) {
      auto what = content();
      what.threadIdentifier = thief;
      center.addNotificationRequest({thief + std::to_string(i), what}, [&](const std::optional<NSError>&) { ++told; });
    }
  }
  ASSERT_TRUE(runUntil([&] { return told == 2000; }));
  ASSERT_EQ(server.shown().size(), 4u) << "the first and the newest of each";
  EXPECT_THAT(std::set<uint>({server.shown()[2].replaces, server.shown()[3].replaces}), ElementsAre(1, 2));
  server.invokeAction(1, "ALLOW");
  ASSERT_TRUE(runUntil([&] { return !choices->made.empty(); }));
  EXPECT_THAT(choices->made, ElementsAre(testing::EndsWith("1000 ALLOW org.example")));

  server.close(1);
  auto again = content();
  for (const char* thief : {"A", "B"}) {
    again.threadIdentifier = thief;
    ASSERT_EQ(post("again", again), "");
  }
  EXPECT_EQ(server.shown()[4].replaces + server.shown()[5].replaces, 2u) << "one of them had been closed";
}

TEST_F(LinuxNotificationCenterTest, BelievesOnlyTheServerThatShowsTheNotification) {
  {
    const NotificationServer server(bus, everything);
    ASSERT_EQ(post("1"), "");
    ASSERT_EQ(post("another"), "");
    auto stranger = QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "test-stranger");
    sayActionInvoked(stranger, 1, "ALLOW");
    stranger.interface()->serviceOwner("org.freedesktop.DBus");  // an answer means that the signal is out
    QDBusConnection::disconnectFromBus("test-stranger");
  }
  const NotificationServer successor(bus, everything, "test-successor");
  successor.invokeAction(1, "ALLOW");
  ASSERT_EQ(post("2"), "");
  EXPECT_EQ(successor.latest(), 1u) << "the number that the first server gave to the first notification";
  successor.invokeAction(2, "ALLOW");
  successor.invokeAction(1, "DISMISS");
  ASSERT_TRUE(runUntil([&] { return !choices->made.empty(); }));
  EXPECT_THAT(choices->made, ElementsAre("2 DISMISS org.example"));
}

TEST_F(LinuxNotificationCenterTest, AServerThatIsMissingRefusesOrKeepsSilentIsAnErrorUntilItAnswers) {
  EXPECT_THAT(post("1"), HasSubstr("org.freedesktop.Notifications"));
  EXPECT_THAT(authorization(), HasSubstr("org.freedesktop.Notifications"));
  NotificationServer server(bus, everything);
  server.setManner(NotificationServer::Manner::refuses);
  EXPECT_EQ(post("2"), "too many notifications");
  server.setManner(NotificationServer::Manner::isSilent);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_NE(post("3"), "");
  EXPECT_NE(authorization(), "granted");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
  server.setManner(NotificationServer::Manner::answers);
  EXPECT_EQ(authorization(), "granted");
  EXPECT_EQ(post("4"), "");
  EXPECT_EQ(server.shown().size(), 1u);
}

TEST_F(LinuxNotificationCenterTest, ABusThatEndsIsAnErrorAndTheNextOneIsUsed) {
  {
    const NotificationServer server(bus, everything);
    ASSERT_EQ(post("1"), "");
  }
  bus.end();
  EXPECT_NE(post("2"), "");
  EXPECT_NE(authorization(), "granted");
  const PrivateBus next;
  const NotificationServer server(next, everything, "test-next");
  EXPECT_EQ(post("3"), "");
  EXPECT_EQ(server.shown().size(), 1u);
}

TEST(NotificationText, IsOneLineOfReasonableLengthWithItsBeginningAndItsEnd) {
  EXPECT_EQ(titleText("Varnolet blocked A\nB\x1b\u202e\u2028!"), "Varnolet blocked A B  !");
  EXPECT_EQ(titleText("\xff!"), QString(QChar(0xFFFD)) + '!');
  EXPECT_EQ(bodyText(std::string(240, 'x')).size(), 240);

  const QString body = bodyText(std::string(5000, 'x') + " tried to steal focus from Editor. 3 keystrokes");
  EXPECT_EQ(body.size(), 240);
  EXPECT_TRUE(body.startsWith("xxx")) << body.toStdString();
  EXPECT_TRUE(body.endsWith("x tried to steal focus from Editor. 3 keystrokes")) << body.toStdString();

  for (const char* start : {"", "a"}) {
    QString pairs = QString::fromUtf8(start);
    for (int i = 0; i < 100; ++i) pairs += QString::fromUtf8("\U0001F512");
    const QString title = titleText(pairs.toStdString());
    EXPECT_LE(title.size(), 80);
    EXPECT_TRUE(title.isValidUtf16());
  }
}

}  // namespace
}  // namespace platform::linux_desktop
