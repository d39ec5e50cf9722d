#include <gtest/gtest.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <csignal>

#include "platform/linux/bus/LinuxAccessibility.h"
#include "tests/platform/linux/DesktopScene.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/bus/PrivateBus.h"

namespace platform::linux_desktop {
namespace {

constexpr char connectionName[] = "test-application";

// What an application says on the accessibility bus when a window of its becomes active.
void announceActivation(const QDBusConnection& bus) {
  auto announcement =
      QDBusMessage::createSignal("/org/a11y/atspi/accessible/root", "org.a11y.atspi.Event.Window", "Activate");
  announcement << QString() << 0 << 0 << QVariant::fromValue(QDBusVariant(QString())) << QVariantMap();
  bus.send(announcement);
}

QDBusConnection connectToAccessibilityBus() {
  auto session = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "test-session");
  const QDBusReply<QString> address =
      session.call(QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"));
  QDBusConnection::disconnectFromBus("test-session");
  return QDBusConnection::connectToBus(address.value(), connectionName);
}

void count(AXObserver&, const AXUIElement&, const std::string&, void* counter) {
  ++*static_cast<int*>(counter);
}

std::shared_ptr<MainLoopSource> sourceOf(const AXObserverRef& observer) {
  return std::dynamic_pointer_cast<MainLoopSource>(observer->runLoopSource());
}

AXObserverRef observe(LinuxAccessibility& accessibility, std::int32_t pid, int& counter) {
  const auto created = accessibility.createObserver(pid, &count);
  auto observer = std::get<AXObserverRef>(created);
  const auto element = std::make_shared<const AXUIElement>(pid);
  EXPECT_EQ(observer->addNotification(element, "AXTitleChanged", &counter), AXError::notificationUnsupported);
  EXPECT_EQ(observer->addNotification(element, kAXApplicationActivatedNotification, &counter), AXError::success);
  sourceOf(observer)->attach();
  return observer;
}

class LinuxAccessibilityTest : public testing::Test {
 protected:
  const DesktopScene scene;
  const std::unique_ptr<XcbConnection> connection = XcbConnection::open();
};

TEST_F(LinuxAccessibilityTest, TellsTheObserversOfAProcessWhileTheirSourceIsAttached) {
  LinuxAccessibility accessibility(*connection);
  auto bus = connectToAccessibilityBus();
  ASSERT_TRUE(bus.isConnected());
  int own = 0;
  int others = 0;
  const auto ownObserver = observe(accessibility, getpid(), own);
  const auto othersObserver = observe(accessibility, 1, others);

  // Until the observer's own connection stands, what is said is not heard.
  ASSERT_TRUE(runUntil([&] {
    if (own == 0) announceActivation(bus);
    return own > 0;
  }));
  runFor(std::chrono::milliseconds(100));
  sourceOf(ownObserver)->detach();
  own = 0;
  announceActivation(bus);
  runFor(std::chrono::milliseconds(100));
  EXPECT_EQ(own, 0);
  EXPECT_EQ(others, 0);
  QDBusConnection::disconnectFromBus(connectionName);
}

TEST_F(LinuxAccessibilityTest, FindsTheBusAgainThatEndedAndCameBack) {
  LinuxAccessibility accessibility(*connection);
  int activations = 0;
  const auto observer = observe(accessibility, getpid(), activations);
  const auto isHeard = [&] {
    activations = 0;
    auto bus = connectToAccessibilityBus();
    const bool heard = runUntil([&] {
      if (activations == 0) announceActivation(bus);
      return activations > 0;
    });
    QDBusConnection::disconnectFromBus(connectionName);
    return heard;
  };
  ASSERT_TRUE(isHeard());
  auto session = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "test-session");
  const auto launcher = session.interface()->servicePid("org.a11y.Bus");
  ASSERT_TRUE(launcher.isValid());
  ASSERT_EQ(kill(static_cast<pid_t>(launcher.value()), SIGTERM), 0);
  ASSERT_TRUE(runUntil([&] { return !session.interface()->isServiceRegistered("org.a11y.Bus").value(); }));
  QDBusConnection::disconnectFromBus("test-session");
  EXPECT_TRUE(isHeard()) << "whoever asks for it brings it back";
}

TEST_F(LinuxAccessibilityTest, WithoutABusNothingCanBeObservedAndNobodyWaits) {
  for (const char* variable : {"DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS"}) {
    for (const char* address : {static_cast<const char*>(nullptr), "unix:path=/nowhere"}) {
      const TestEnvironment noBus({{"DBUS_SESSION_BUS_ADDRESS", nullptr}, {"AT_SPI_BUS_ADDRESS", nullptr}});
      const TestEnvironment environment{{{variable, address}}};
      LinuxAccessibility accessibility(*connection);
      EXPECT_TRUE(runUntil([&] {
        const auto created = accessibility.createObserver(getpid(), &count);
        const auto* error = std::get_if<AXError>(&created);
        return error && *error == AXError::apiDisabled;
      })) << variable
          << (address ? address : " is missing");
    }
  }
}

TEST_F(LinuxAccessibilityTest, NobodyWaitsForABusThatDoesNotAnswer) {
  const SilentBus silent;
  const std::string address = silent.address();
  for (const char* variable : {"DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS"}) {
    const TestEnvironment noBus({{"DBUS_SESSION_BUS_ADDRESS", nullptr}, {"AT_SPI_BUS_ADDRESS", nullptr}});
    const TestEnvironment environment{{{variable, address.c_str()}}};
    const auto start = std::chrono::steady_clock::now();
    {
      LinuxAccessibility accessibility(*connection);
      int activations = 0;
      const auto observer = observe(accessibility, getpid(), activations);
      runFor(std::chrono::milliseconds(200));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << variable;
  }
}

}  // namespace
}  // namespace platform::linux_desktop
