#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Varnolet/NotificationManager.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/SettingsManager.h"
#include "varnoletKit/WhitelistAdapter.h"

namespace varnolet {
namespace {

using platform::LogLevel;
using platform::UNMutableNotificationContent;
using platform::UNNotificationSound;
using platform::simulated::AuthorizationAnswer;
using platform::simulated::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

LogLine focusLine(LogLevel level, const std::string& message) {
  return {platform::LogCategory::focus, level, message};
}

class NotificationManagerTest : public testing::Test {
 protected:
  void create() {
    manager = NotificationManager::create(settings);
    desktop.settle();
  }
  void createAndForgetItsMessages() {
    create();
    desktop.clearLog();
  }
  void post(std::int64_t keystrokes = 3) {
    manager->postBlockNotification("Chat", "Editor", keystrokes, "org.example.Chat");
    desktop.settle();
  }
  void choose(std::size_t posted, const std::string& action) {
    desktop.chooseAction(desktop.postedNotifications().at(posted), action);
    desktop.settle();
  }
  std::set<std::string> storedWhitelist() { return varnoletKit::SettingsManager(defaults).settings().whitelist; }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<platform::UserDefaults> defaults = platform::UserDefaults::standard();
  std::shared_ptr<varnoletKit::SettingsManager> settings = std::make_shared<varnoletKit::SettingsManager>(defaults);
  std::shared_ptr<NotificationManager> manager;
};

TEST_F(NotificationManagerTest, AsksForThePermissionInATaskAndSetsItsCategoryAtOnce) {
  platform::UNUserNotificationCenter::currentNotificationCenter().setNotificationCategories({{.identifier = "OLD"}});
  manager = NotificationManager::create(settings);
  EXPECT_THAT(desktop.authorizationRequests(), IsEmpty());
  ASSERT_EQ(desktop.notificationCategories().size(), 1U);
  const auto& category = desktop.notificationCategories().front();
  EXPECT_EQ(category.identifier, "BLOCK_NOTIFICATION");
  EXPECT_THAT(category.actions, ElementsAre(platform::UNNotificationAction{"ALWAYS_ALLOW", "Always Allow", 0},
                                            platform::UNNotificationAction{"DISMISS", "Dismiss", 2}));
  EXPECT_THAT(category.intentIdentifiers, IsEmpty());
  EXPECT_EQ(category.options, 0U);
  desktop.settle();
  EXPECT_THAT(desktop.authorizationRequests(), ElementsAre(7U));
}

TEST_F(NotificationManagerTest, LogsTheAnswerAndPostsWhateverItIs) {
  create();
  desktop.answerAuthorization(AuthorizationAnswer::refuses());
  create();
  desktop.answerAuthorization(AuthorizationAnswer::fails("no server"));
  create();
  EXPECT_THAT(desktop.logLines(),
              ElementsAre(focusLine(LogLevel::info, "Notification authorization granted."),
                          focusLine(LogLevel::error, "Notification authorization denied by user."),
                          focusLine(LogLevel::error, "Failed to request notification authorization: no server")));
  post();
  EXPECT_EQ(desktop.postedNotifications().size(), 1U);
}

TEST_F(NotificationManagerTest, SaysWhoWasBlockedAndHowManyKeysWereSaved) {
  createAndForgetItsMessages();
  post(12);
  post(0);
  ASSERT_EQ(desktop.postedNotifications().size(), 2U);
  const auto& first = desktop.postedNotifications()[0];
  const auto& second = desktop.postedNotifications()[1];
  EXPECT_EQ(first.identifier.size(), 36U);
  EXPECT_NE(first.identifier, second.identifier);
  EXPECT_EQ(first.content.title, "Varnolet blocked Chat");
  EXPECT_EQ(first.content.body, "Chat tried to steal focus from Editor. 12 keystrokes buffered and restored.");
  EXPECT_EQ(second.content.body, "Chat tried to steal focus from Editor. 0 keystrokes buffered and restored.");
  EXPECT_EQ(first.content.categoryIdentifier, "BLOCK_NOTIFICATION");
  EXPECT_EQ(first.content.threadIdentifier, "org.example.Chat");
  EXPECT_EQ(first.content.userInfo.size(), 1U);
  EXPECT_EQ(first.content.value<std::string>("thiefBundleID"), "org.example.Chat");
  EXPECT_THAT(desktop.logLines(), IsEmpty());
}

TEST_F(NotificationManagerTest, FollowsTheSettingsOfTheMoment) {
  createAndForgetItsMessages();
  post();
  settings->setSettings({.soundEnabled = false});  // in memory is enough
  post();
  settings->setSettings({.notificationsEnabled = false});
  post();
  post();
  ASSERT_EQ(desktop.postedNotifications().size(), 2U);
  EXPECT_EQ(desktop.postedNotifications()[0].content.sound, UNNotificationSound::defaultSound());
  EXPECT_EQ(desktop.postedNotifications()[1].content.sound, std::nullopt);
  const auto skipped = focusLine(LogLevel::debug, "Notifications disabled; skipping block notification.");
  EXPECT_THAT(desktop.logLines(), ElementsAre(skipped, skipped));
  EXPECT_EQ(desktop.presentationInFront(desktop.postedNotifications()[1]), 18U) << "whatever the settings";
}

TEST_F(NotificationManagerTest, AFailedPostIsLoggedAndNothingElse) {
  createAndForgetItsMessages();
  desktop.failNotifications("the server is gone");
  post();
  desktop.failNotifications(std::nullopt);
  post();
  EXPECT_THAT(desktop.logLines(),
              ElementsAre(focusLine(LogLevel::error, "Failed to post block notification: the server is gone")));
  EXPECT_EQ(desktop.postedNotifications().size(), 1U);
}

TEST_F(NotificationManagerTest, AlwaysAllowWhitelistsTheThiefFromTheNextActivationOn) {
  createAndForgetItsMessages();
  varnoletKit::WhitelistAdapter whitelist(settings);
  post();
  post();
  EXPECT_FALSE(whitelist.isWhitelisted("org.example.Chat"));
  for (const std::size_t posted : {0U, 1U}) {
    choose(posted, "ALWAYS_ALLOW");
    EXPECT_EQ(storedWhitelist(), (std::set<std::string>{"org.example.Chat"}));
    EXPECT_TRUE(whitelist.isWhitelisted("org.example.Chat"));
  }
  EXPECT_EQ(desktop.finishedResponses(), 2U);
  const auto chosen = focusLine(LogLevel::info, "User chose 'Always Allow' for org.example.Chat.");
  EXPECT_THAT(desktop.logLines(), ElementsAre(chosen, chosen));
}

TEST_F(NotificationManagerTest, OtherAnswersChangeNothingAndAreFinishedToo) {
  createAndForgetItsMessages();
  post();
  choose(0, "DISMISS");
  choose(0, platform::UNNotificationDefaultActionIdentifier);
  UNMutableNotificationContent content;
  desktop.chooseAction({"without", content}, "ALWAYS_ALLOW");
  content.userInfo.emplace("thiefBundleID", 7);
  desktop.chooseAction({"not a text", content}, "ALWAYS_ALLOW");
  desktop.settle();
  EXPECT_EQ(desktop.finishedResponses(), 4U);
  EXPECT_THAT(storedWhitelist(), IsEmpty());
  EXPECT_THAT(desktop.logLines(), ElementsAre(focusLine(LogLevel::debug, "User dismissed block notification.")));
}

}  // namespace
}  // namespace varnolet
