#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>
#include <csignal>

#include "tests/platform/linux/bus/PrivateBus.h"
#include "tools/stage/ChildProcess.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

class ApplicationInstanceTest : public testing::Test {
 protected:
  // A start of the program, on that bus.
  std::unique_ptr<stage::ChildProcess> start(const std::string& busAddress, bool isByTheBus = false) const {
    stage::ChildProcess::Options options;
    options.environment = stage::bareEnvironment();
    options.environment.emplace("DBUS_FATAL_WARNINGS", "0");
    if (!busAddress.empty()) options.environment["DBUS_SESSION_BUS_ADDRESS"] = busAddress;
    if (isByTheBus) options.environment["DBUS_STARTER_BUS_TYPE"] = "session";
    options.readOutput = true;
    return std::make_unique<stage::ChildProcess>(std::vector<std::string>{VARNOLET_INSTANCE_CLIENT}, options);
  }
  std::unique_ptr<stage::ChildProcess> start() const { return start(bus.address()); }
  static bool isPrimary(const stage::ChildProcess& program) { return program.output().waitFor("primary").has_value(); }
  static bool isSecond(stage::ChildProcess& program) {
    return program.output().waitFor("second") && program.ending() == stage::Ending{0, std::nullopt};
  }
  static bool isReopened(const stage::ChildProcess& program, std::size_t times) {
    const auto end = steady_clock::now() + 5s;
    while (program.output().countOf("reopened") < times && steady_clock::now() < end) usleep(2000);
    return program.output().countOf("reopened") == times;
  }

  PrivateBus bus;
};

TEST_F(ApplicationInstanceTest, EveryFurtherStartReopensTheFirstAsSoonAsItCanAndOneAfterItsEndIsFirstAgain) {
  const auto first = start();
  ASSERT_TRUE(isPrimary(*first));
  EXPECT_TRUE(isSecond(*start()));
  EXPECT_TRUE(isSecond(*start()));
  first->tell("handle");
  EXPECT_TRUE(isReopened(*first, 1));
  EXPECT_TRUE(isSecond(*start()));
  EXPECT_TRUE(isReopened(*first, 2));
  EXPECT_EQ(first->output().countOf("reopened at 4711 by a process"), 2u);
  first->closeInput();
  ASSERT_TRUE(first->ending());
  const auto next = start();
  EXPECT_TRUE(isPrimary(*next));
}

TEST_F(ApplicationInstanceTest, ADesktopMayAskForItButNotForAnythingElse) {
  const auto first = start();
  ASSERT_TRUE(isPrimary(*first));
  first->tell("handle");
  const auto desktop = QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "test-desktop");
  const auto ask = [&](const char* method, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall("app.test.Instance", "/app/test/Instance", "org.freedesktop.Application",
                                               method);
    call.setArguments(arguments);
    return desktop.call(call).type() == QDBusMessage::ReplyMessage;
  };
  EXPECT_TRUE(ask("ActivateAction", {"quit", QVariantList(), QVariantMap()}));
  EXPECT_FALSE(ask("Activate", {"nonsense"}));
  EXPECT_FALSE(ask("Nonsense", {}));
  EXPECT_TRUE(ask("Open", {QStringList{"file:///etc/passwd"}, QVariantMap()}));
  EXPECT_TRUE(ask("Activate", {QVariantMap{{"key", 1}}}));
  EXPECT_TRUE(ask("Activate", {QVariantMap{{"activation-token", "launcher_TIME4712"}}}));
  EXPECT_TRUE(isReopened(*first, 3));
  EXPECT_EQ(first->output().countOf("reopened at 4712"), 1u);
  QDBusConnection::disconnectFromBus("test-desktop");
}

TEST_F(ApplicationInstanceTest, TheCallThatTheBusHasStartedItForReopensNothing) {
  const auto first = start(bus.address(), true);
  ASSERT_TRUE(isPrimary(*first));
  first->tell("handle");
  EXPECT_TRUE(isSecond(*start())) << "stands for the desktop's call";
  EXPECT_TRUE(isSecond(*start()));
  EXPECT_TRUE(isReopened(*first, 1));
}

TEST_F(ApplicationInstanceTest, AFirstThatDoesNotAnswerIsWaitedForNoLongerThanTwoSeconds) {
  const auto first = start();
  ASSERT_TRUE(isPrimary(*first));
  first->signal(SIGSTOP);
  const auto begin = steady_clock::now();
  EXPECT_TRUE(isSecond(*start()));
  EXPECT_LT(steady_clock::now() - begin, 3500ms);
  first->signal(SIGCONT);
}

TEST_F(ApplicationInstanceTest, WithoutABusThatServesItEveryoneIsFirstAndSoonStarted) {
  const SilentBus silent;
  for (const std::string& busAddress :
       {std::string(), std::string("unix:path=/nowhere"), std::string("nonsense"), silent.address()}) {
    const auto begin = steady_clock::now();
    const auto program = start(busAddress);
    EXPECT_TRUE(isPrimary(*program)) << busAddress;
    EXPECT_LT(steady_clock::now() - begin, 2s) << busAddress;
    program->closeInput();
    EXPECT_EQ(program->ending(), (stage::Ending{0, std::nullopt})) << "nor do they keep it from ending";
  }
}

}  // namespace
}  // namespace platform::linux_desktop
