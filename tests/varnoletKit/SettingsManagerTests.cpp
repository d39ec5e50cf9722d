#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/BlessedAppManager.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/SettingsManager.h"
#include "varnoletKit/UserSettingsCoding.h"
#include "varnoletKit/WhitelistAdapter.h"

namespace varnoletKit {
namespace {

class SettingsManagerTest : public testing::Test {
 protected:
  static constexpr char key[] = "userSettings";

  void store(const std::string& bytes) { defaults->set(bytes, key); }
  void store(const UserSettings& settings) { store(std::get<std::string>(encodeUserSettings(settings))); }
  std::shared_ptr<SettingsManager> manager() { return std::make_shared<SettingsManager>(defaults); }
  UserSettings stored() { return std::get<UserSettings>(decodeUserSettings(defaults->data(key).value_or(""))); }

  // How often a reader of the settings is told during `change`.
  template <class Change>
  static int timesTold(const SettingsManager& settings, const Change& change) {
    int runs = 0;
    const Observation observation = observe([&] {
      ++runs;
      static_cast<void>(settings.settings());
    });
    change();
    return runs - 1;
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<platform::UserDefaults> defaults = platform::UserDefaults::suite("app.varnolet.Test");
};

TEST_F(SettingsManagerTest, WithNothingReadableStoredHasTheDefaultsAndLeavesTheStoreAlone) {
  EXPECT_EQ(manager()->settings(), UserSettings());
  EXPECT_EQ(manager()->load(), UserSettings());
  EXPECT_EQ(defaults->data(key), std::nullopt);

  const std::string withoutLaunchAtLogin =
      R"({"whitelist":["a"],"gestureWindowMs":1,"bufferTimeoutMs":1,"notificationsEnabled":false,)"
      R"("soundEnabled":false,"logRetentionDays":1})";
  store(withoutLaunchAtLogin);
  EXPECT_EQ(manager()->settings(), UserSettings());
  EXPECT_EQ(defaults->data(key), withoutLaunchAtLogin);
  EXPECT_TRUE(desktop.logLines().empty());
}

TEST_F(SettingsManagerTest, OpensTheNamedSuiteAndElseTheStandardStore) {
  store(UserSettings{.logRetentionDays = 1});
  platform::UserDefaults::standard()->set(
      std::get<std::string>(encodeUserSettings(UserSettings{.logRetentionDays = 2})), key);
  EXPECT_EQ(SettingsManager("app.varnolet.Test").settings().logRetentionDays, 1);
  EXPECT_EQ(SettingsManager(std::nullopt).settings().logRetentionDays, 2);
  desktop.refuseSuite("app.varnolet.Test");
  EXPECT_EQ(SettingsManager("app.varnolet.Test").settings().logRetentionDays, 2);
}

TEST_F(SettingsManagerTest, LoadTakesOverWhatAnotherWriterStored) {
  const auto settings = manager();
  store(UserSettings{.whitelist = {"org.example.New"}});
  EXPECT_EQ(timesTold(*settings, [&] { EXPECT_EQ(settings->load(), stored()); }), 1);
  EXPECT_EQ(settings->settings(), stored());
  EXPECT_EQ(timesTold(*settings, [&] { settings->load(); }), 0);
}

TEST_F(SettingsManagerTest, LoadOfAnUnreadableRecordLogsAndKeepsTheLiveSettings) {
  const auto settings = manager();
  settings->setSettings({.soundEnabled = false});
  store("{");
  EXPECT_EQ(settings->load(), UserSettings());
  EXPECT_FALSE(settings->settings().soundEnabled);
  ASSERT_EQ(desktop.logLines().size(), 1U);
  settings->addToWhitelist("org.example.New");
  EXPECT_EQ(stored(), settings->settings());
  EXPECT_EQ(defaults->data("aside.userSettings"), "{") << "it may hold a whole whitelist";
  store("}");
  settings->addToWhitelist("org.example.Newer");
  EXPECT_EQ(defaults->data(key), "}") << "it could not be set aside";
  EXPECT_EQ(desktop.logLines().front(),
            (platform::simulated::LogLine{platform::LogCategory::lifecycle, platform::LogLevel::error,
                                          "Failed to decode UserSettings: not JSON at "
                                          "byte 2"}));
}

TEST_F(SettingsManagerTest, AWriteTellsOfADifferenceOnlyAndIsStoredBySaveAlone) {
  const auto settings = manager();
  EXPECT_EQ(timesTold(*settings, [&] { settings->setSettings({.launchAtLogin = true}); }), 1);
  EXPECT_EQ(timesTold(*settings, [&] { settings->setSettings({.launchAtLogin = true}); }), 0);
  EXPECT_EQ(defaults->data(key), std::nullopt);
  settings->save();
  EXPECT_TRUE(stored().launchAtLogin);

  settings->save({.logRetentionDays = 7});
  EXPECT_EQ(stored().logRetentionDays, 7);
  EXPECT_EQ(settings->settings().logRetentionDays, 30);
}

TEST_F(SettingsManagerTest, WhitelistEditsAreStoredAtOnceAndAlwaysTold) {
  const auto settings = manager();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(timesTold(*settings, [&] { settings->addToWhitelist(" Odd name"); }), 1);
    EXPECT_EQ(stored().whitelist, (std::set<std::string>{" Odd name"}));
  }
  store("");  // each edit stores, even one that changes nothing
  EXPECT_EQ(timesTold(*settings, [&] { settings->removeFromWhitelist("not there"); }), 1);
  EXPECT_EQ(stored().whitelist, (std::set<std::string>{" Odd name"}));
  settings->removeFromWhitelist(" Odd name");
  EXPECT_TRUE(stored().whitelist.empty());
}

TEST_F(SettingsManagerTest, AResetAddsTheBuiltInEntriesToTheUsersOwn) {
  const auto settings = manager();
  EXPECT_EQ(timesTold(*settings, [&] { settings->resetWhitelistToDefaults(); }), 1);
  EXPECT_EQ(stored().whitelist, BlessedAppManager::defaultWhitelist());
  EXPECT_EQ(stored().whitelist.size(), 9U);

  settings->addToWhitelist("org.example.Own");
  settings->removeFromWhitelist("com.apple.FaceTime");
  EXPECT_EQ(stored().whitelist.size(), 9U);
  EXPECT_EQ(BlessedAppManager::userOnlyEntries(stored().whitelist), (std::set<std::string>{"org.example.Own"}));
  settings->resetWhitelistToDefaults();
  EXPECT_EQ(stored().whitelist, BlessedAppManager::mergedWhitelist({"org.example.Own"}));
}

TEST_F(SettingsManagerTest, WhatCannotBeEncodedIsLoggedAndLeavesTheStoreAsItWas) {
  const auto settings = manager();
  settings->addToWhitelist("org.example.Fine");
  settings->addToWhitelist("\xFF");
  EXPECT_EQ(stored().whitelist, (std::set<std::string>{"org.example.Fine"}));
  EXPECT_TRUE(settings->settings().whitelist.contains("\xFF"));
  EXPECT_EQ(desktop.logMessages(platform::LogCategory::lifecycle),
            (std::vector<std::string>{"Failed to encode UserSettings: a whitelist entry is not UTF-8"}));
}

TEST_F(SettingsManagerTest, TheWhitelistCheckGoesByWhatIsStoredNow) {
  const auto settings = manager();
  WhitelistAdapter whitelist(settings);
  EXPECT_FALSE(whitelist.isWhitelisted("org.example.Launcher"));
  store(UserSettings{.whitelist = {"org.example.Launcher"}});
  EXPECT_TRUE(whitelist.isWhitelisted("org.example.Launcher"));
  EXPECT_FALSE(whitelist.isWhitelisted("org.example.launcher"));
  EXPECT_FALSE(whitelist.isWhitelisted("unknown"));

  settings->setSettings({.whitelist = {"unknown"}});
  EXPECT_FALSE(whitelist.isWhitelisted("unknown"));  // not saved, and taken back by the check
  EXPECT_EQ(settings->settings(), stored());
  settings->addToWhitelist("unknown");
  EXPECT_TRUE(whitelist.isWhitelisted("unknown"));
}

TEST_F(SettingsManagerTest, TheBuiltInEntriesAreWhitelistedWhateverIsStored) {
  const auto settings = manager();
  WhitelistAdapter whitelist(settings);
  EXPECT_TRUE(whitelist.isWhitelisted("com.apple.FaceTime"));
  EXPECT_FALSE(whitelist.isWhitelisted("com.apple.facetime"));
  settings->resetWhitelistToDefaults();
  settings->removeFromWhitelist("com.apple.FaceTime");
  EXPECT_TRUE(whitelist.isWhitelisted("com.apple.FaceTime"));

  store("not settings");
  EXPECT_TRUE(whitelist.isWhitelisted("com.apple.loginwindow"));
  EXPECT_FALSE(whitelist.isWhitelisted("org.example.Launcher"));
  EXPECT_EQ(desktop.logLines().size(), 2U);  // the store is read for the built-in entry too
}

TEST_F(SettingsManagerTest, TheProgramsOwnWindowsAreAlwaysWhitelisted) {
  WhitelistAdapter whitelist(manager());
  EXPECT_TRUE(whitelist.isWhitelisted("app.varnolet.Varnolet"));
  EXPECT_FALSE(whitelist.isWhitelisted("app.varnolet"));
}

}  // namespace
}  // namespace varnoletKit
