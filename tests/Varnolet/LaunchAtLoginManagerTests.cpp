#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "Varnolet/LaunchAtLoginManager.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/UserSettingsCoding.h"

namespace varnolet {
namespace {

using platform::SMAppServiceStatus;
using platform::simulated::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

class LaunchAtLoginManagerTest : public testing::Test {
 protected:
  void choose(bool launchAtLogin) {
    auto changed = settings->settings();
    changed.launchAtLogin = launchAtLogin;
    settings->setSettings(changed);
    settings->save();
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<platform::UserDefaults> defaults = platform::UserDefaults::standard();
  std::shared_ptr<varnoletKit::SettingsManager> settings = std::make_shared<varnoletKit::SettingsManager>(defaults);
};

TEST_F(LaunchAtLoginManagerTest, IsEnabledAsTheDesktopSaidAtTheStartAndChangesNothingThen) {
  for (const auto status : {SMAppServiceStatus::notRegistered, SMAppServiceStatus::enabled,
                            SMAppServiceStatus::requiresApproval, SMAppServiceStatus::notFound}) {
    desktop.setLoginItemStatus(status);
    for (const bool choice : {true, false}) {
      choose(choice);
      const LaunchAtLoginManager manager(settings);
      EXPECT_EQ(manager.isEnabled(), status == SMAppServiceStatus::enabled);
    }
  }
  EXPECT_THAT(desktop.loginItemChanges(), IsEmpty());
}

TEST_F(LaunchAtLoginManagerTest, AppliesEachChangeOfTheChoiceAndKeepsWhatItReadAtTheStart) {
  {
    const LaunchAtLoginManager manager(settings);
    choose(true);
    EXPECT_EQ(platform::SMAppService::mainAppService().status(), SMAppServiceStatus::enabled);
    EXPECT_FALSE(manager.isEnabled());
    choose(true);
    settings->addToWhitelist("org.example.Other");
    settings->load();
    EXPECT_THAT(desktop.loginItemChanges(), ElementsAre(true));
    choose(false);
    EXPECT_EQ(platform::SMAppService::mainAppService().status(), SMAppServiceStatus::notRegistered);
    // Another process stores its choice, and it is read.
    defaults->set(std::get<std::string>(varnoletKit::encodeUserSettings({.launchAtLogin = true})), "userSettings");
    settings->load();
    EXPECT_THAT(desktop.loginItemChanges(), ElementsAre(true, false, true));
  }
  choose(false);
  EXPECT_EQ(desktop.loginItemChanges().size(), 3U) << "nobody is there any more to apply it";
  EXPECT_THAT(desktop.logLines(), IsEmpty());
}

TEST_F(LaunchAtLoginManagerTest, AFailureIsLoggedOnceAndTheChoiceStays) {
  const LaunchAtLoginManager manager(settings);
  desktop.failLoginItemChanges("read-only");
  choose(true);
  settings->addToWhitelist("org.example.Other");
  choose(false);
  const auto line = [](const char* message) {
    return LogLine{platform::LogCategory::lifecycle, platform::LogLevel::error, message};
  };
  EXPECT_THAT(desktop.logLines(), ElementsAre(line("Failed to add the login item: read-only"),
                                              line("Failed to remove the login item: read-only")));
  EXPECT_THAT(desktop.loginItemChanges(), ElementsAre(true, false));
}

}  // namespace
}  // namespace varnolet
