#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/stores/AutostartEntry.h"
#include "tests/platform/linux/TestFolder.h"

namespace platform::linux_desktop {
namespace {

using testing::HasSubstr;

constexpr char identifier[] = "app.varnolet.Varnolet";

class AutostartEntryTest : public testing::Test {
 protected:
  TestFolder folder;
  const std::filesystem::path file = folder / "config/autostart/app.varnolet.Varnolet.desktop";
  const std::string config = folder / "config";
  TestEnvironment environment{{{"XDG_CONFIG_HOME", config.c_str()}}};
  AutostartEntry entry{identifier, "/opt/varnolet/bin/varnolet"};
};

TEST_F(AutostartEntryTest, RegisteringWritesTheEntryAndUnregisteringRemovesIt) {
  EXPECT_EQ(entry.status(), SMAppServiceStatus::notRegistered);
  EXPECT_EQ(entry.unregisterService(), std::nullopt) << "nothing to remove";
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(entry.registerService(), std::nullopt);
    EXPECT_EQ(entry.status(), SMAppServiceStatus::enabled);
  }
  EXPECT_EQ(contentsOf(file),
            "[Desktop Entry]\nType=Application\nName=Varnolet\nExec=\"/opt/varnolet/bin/varnolet\"\n"
            "Icon=app.varnolet.Varnolet\nTerminal=false\nStartupNotify=false\n");
  EXPECT_EQ(entry.unregisterService(), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(entry.status(), SMAppServiceStatus::notRegistered);
}

TEST_F(AutostartEntryTest, AnEntryThatIsHiddenOrNoneAtAllDoesNotCountAndIsReplaced) {
  std::filesystem::create_directories(file.parent_path());
  for (const char* bytes : {"[Desktop Entry]\nType=Application\nHidden=true\n",
                            "[Desktop Entry]\nExec=varnolet\nX-GNOME-Autostart-enabled=false\n", "", "\xff\xfe garbage",
                            "[Other]\nExec=varnolet\n[Desktop Action a]\nHidden=false\n"}) {
    fill(file, bytes);
    EXPECT_EQ(entry.status(), SMAppServiceStatus::notRegistered) << bytes;
  }
  EXPECT_EQ(entry.registerService(), std::nullopt);
  EXPECT_EQ(entry.status(), SMAppServiceStatus::enabled);
  fill(file, "# made by hand\n[Desktop Entry]\nHidden=false\nExec=varnolet\n[Other]\nHidden=true\n");
  EXPECT_EQ(entry.status(), SMAppServiceStatus::enabled);
}

TEST_F(AutostartEntryTest, APathMayHoldAnyCharacter) {
  AutostartEntry odd(identifier, "/a b/\"q\"/$HOME/`x`/100%/back\\slash/\xC3\xA4;&|<>'*?#()~\nnew");
  ASSERT_EQ(odd.registerService(), std::nullopt);
  EXPECT_THAT(
      contentsOf(file),
      HasSubstr(
          "\nExec=\"/a b/\\\\\"q\\\\\"/\\\\$HOME/\\\\`x\\\\`/100%%/back\\\\\\\\slash/\xC3\xA4;&|<>'*?#()~\\nnew\"\n"));
}

TEST_F(AutostartEntryTest, FailuresAreToldAndLeaveWhatWasThere) {
  ASSERT_EQ(entry.registerService(), std::nullopt);
  const std::string before = contentsOf(file);
  {
    const FullDisk full(10);
    EXPECT_THAT(entry.registerService()->localizedDescription, HasSubstr("File too large"));
  }
  EXPECT_EQ(contentsOf(file), before);

  std::filesystem::remove_all(file);
  std::filesystem::create_directories(file / "occupied");
  EXPECT_TRUE(entry.registerService());
  EXPECT_THAT(entry.unregisterService()->localizedDescription, HasSubstr("not empty"));
  EXPECT_EQ(entry.status(), SMAppServiceStatus::notRegistered);
}

}  // namespace
}  // namespace platform::linux_desktop
