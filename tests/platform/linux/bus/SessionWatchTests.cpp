#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include "platform/NSWorkspace.h"
#include "platform/linux/bus/SessionWatch.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/bus/LoginService.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char aScreenSaver[] = "org.gnome.ScreenSaver";

// An answer of the bus means that what was sent before is out.
void flush(const QDBusConnection& connection) {
  connection.interface()->serviceOwner("org.freedesktop.DBus");
}

void sayScreenSaver(const QDBusConnection& connection, const char* name, bool begins) {
  auto signal = QDBusMessage::createSignal("/any/path", name, "ActiveChanged");
  signal << begins;
  connection.send(signal);
  flush(connection);
}

class SessionWatchTest : public testing::Test {
 protected:
  SessionWatchTest() {
    for (const auto& [name, word] : {std::pair(NSWorkspaceScreensDidWakeNotification, "wake"),
                                     std::pair(NSWorkspaceSessionDidBecomeActiveNotification, "become"),
                                     std::pair(NSWorkspaceSessionDidResignActiveNotification, "resign")}) {
      center.addObserverForName(name, NSOperationQueue::poster,
                                [this, word = word](const NSNotification&) { story.emplace_back(word); });
    }
  }
  void TearDown() override { QDBusConnection::disconnectFromBus("test-other"); }

  QDBusConnection otherClient() const {
    return QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "test-other");
  }
  bool isTold(std::size_t times) {
    return runUntil([&] { return story.size() == times; });
  }
  static bool isRead(const LoginService& login) {
    return runUntil([&] { return login.readings() > 0; });
  }

  PrivateBus bus;
  TestEnvironment environment{{{"DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str()}, {"XDG_SESSION_ID", "7"}}};
  NSNotificationCenter center;
  std::vector<std::string> story;
};

TEST_F(SessionWatchTest, ResignsAndBecomesActiveOncePerChangeWhateverCausesIt) {
  LoginService login(bus);
  const SessionWatch watch(center);
  ASSERT_TRUE(isRead(login));
  login.change(true, false);
  login.change(true, true);
  EXPECT_TRUE(isTold(1));
  login.change(false, true);
  login.change(false, false);
  login.change(true, false, false);
  EXPECT_TRUE(isTold(2));
  login.change(false, false, false);
  EXPECT_TRUE(isTold(3));
  login.prepareForSleep(true);
  login.prepareForSleep(false);
  EXPECT_TRUE(isTold(4));
  EXPECT_THAT(story, ElementsAre("resign", "become", "resign", "wake"));
}

TEST_F(SessionWatchTest, FindsTheSessionOfTheEnvironmentElseOfTheProcessElseTheOneThatIsShown) {
  using Known = LoginService::Known;
  for (const char* id : {static_cast<const char*>("7"), "gone", ""}) {
    const TestEnvironment variable({{"XDG_SESSION_ID", id}, {"UNUSED", nullptr}});
    for (const auto known : {Known::byId, Known::byProcess, Known::asDisplay, Known::no}) {
      story.clear();
      LoginService login(bus, known);
      login.set(false, false);
      const SessionWatch watch(center);
      const bool isFound = known == Known::byId ? std::string(id) == "7" : known != Known::no;
      if (isFound) {
        EXPECT_TRUE(isTold(1)) << id << static_cast<int>(known);
      } else {
        runFor(100ms);
        EXPECT_THAT(story, IsEmpty()) << id << static_cast<int>(known);
      }
    }
  }
}

TEST_F(SessionWatchTest, TheEndOfEveryKindOfScreenSaverWakesTheScreens) {
  const SessionWatch watch(center);
  auto screenSaver = otherClient();
  std::size_t times = 0;
  for (const char* name : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver", "org.xfce.ScreenSaver",
                           "org.mate.ScreenSaver", "org.cinnamon.ScreenSaver"}) {
    ASSERT_TRUE(screenSaver.registerService(name));
    // Whether its owner is known yet cannot be seen from here.
    EXPECT_TRUE(runUntil([&] {
      sayScreenSaver(screenSaver, name, true);
      sayScreenSaver(screenSaver, name, false);
      return story.size() > times;
    })) << name;
    times = story.size();
  }
  EXPECT_THAT(story, testing::Each("wake"));
}

TEST_F(SessionWatchTest, BelievesOnlyTheServices) {
  LoginService login(bus);
  const SessionWatch watch(center);
  ASSERT_TRUE(isRead(login));
  const auto stranger = otherClient();
  auto sleep =
      QDBusMessage::createSignal("/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep");
  stranger.send(sleep << false);
  sayScreenSaver(stranger, aScreenSaver, false);
  flush(stranger);
  login.prepareForSleep(false);
  EXPECT_TRUE(isTold(1));
  runFor(50ms);
  EXPECT_THAT(story, ElementsAre("wake"));
}

TEST_F(SessionWatchTest, ALoginServiceThatComesLateOrIsRestartedIsAskedAgain) {
  const SessionWatch watch(center);
  runFor(50ms);
  {
    LoginService login(bus);
    ASSERT_TRUE(isRead(login));
    login.change(true, true);
    EXPECT_TRUE(isTold(1));
  }
  runFor(50ms);
  EXPECT_THAT(story, ElementsAre("resign")) << "nobody has unlocked the session";
  LoginService next(bus, LoginService::Known::asDisplay, "test-next-login");
  EXPECT_TRUE(isTold(2));
  next.change(false, false);
  EXPECT_TRUE(isTold(3));
  bus.end();
  runFor(50ms);
  EXPECT_THAT(story, ElementsAre("resign", "become", "resign"));
}

TEST_F(SessionWatchTest, ABusThatIsMissingOrSilentIsNotWaitedFor) {
  const SilentBus silent;
  const std::string silence = silent.address();
  for (const auto& [system, session] : {std::pair("unix:path=/nowhere", "nonsense"), std::pair("", ""),
                                        std::pair(silence.c_str(), bus.address().c_str())}) {
    const TestEnvironment addresses({{"DBUS_SYSTEM_BUS_ADDRESS", system}, {"DBUS_SESSION_BUS_ADDRESS", session}});
    const auto begin = std::chrono::steady_clock::now();
    {
      const SessionWatch watch(center);
      runFor(100ms);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s) << system;
  }
  EXPECT_THAT(story, IsEmpty());
}

}  // namespace
}  // namespace platform::linux_desktop
