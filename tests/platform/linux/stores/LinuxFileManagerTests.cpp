#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/stores/LinuxFileManager.h"
#include "tests/platform/linux/TestFolder.h"

namespace platform::linux_desktop {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::size_t entriesOf(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// Nothing is made private by the umask.
class LinuxFileManagerTest : public testing::Test {
 protected:
  void TearDown() override { umask(umaskBefore); }

  const mode_t umaskBefore = umask(0);
  TestFolder folder;
  LinuxFileManager files;
};

TEST_F(LinuxFileManagerTest, ApplicationDataIsWhereXdgSaysElseInTheHomeFolder) {
  {
    const TestEnvironment environment({{"XDG_DATA_HOME", "/data"}, {"HOME", "/home/someone"}});
    EXPECT_THAT(files.applicationSupportDirectories(), ElementsAre("/data"));
  }
  for (const char* invalid : {static_cast<const char*>(nullptr), "", "relative/path"}) {
    const TestEnvironment environment({{"XDG_DATA_HOME", invalid}, {"HOME", "/home/someone"}});
    EXPECT_THAT(files.applicationSupportDirectories(), ElementsAre("/home/someone/.local/share"));
  }
  const TestEnvironment environment({{"XDG_DATA_HOME", nullptr}, {"HOME", nullptr}});
  ASSERT_EQ(files.applicationSupportDirectories().size(), 1u) << "the password entry names the home folder";
  EXPECT_TRUE(files.applicationSupportDirectories().front().is_absolute());
}

TEST_F(LinuxFileManagerTest, WhatItMakesIsPrivateWhateverTheUmask) {
  EXPECT_EQ(files.createDirectory(folder / "a/b"), std::nullopt);
  EXPECT_EQ(files.writeAtomically(folder / "a/b/log", "new"), std::nullopt);
  EXPECT_EQ(modeOf(folder / "a"), 0700u);
  EXPECT_EQ(modeOf(folder / "a/b"), 0700u);
  EXPECT_EQ(modeOf(folder / "a/b/log"), 0600u);
  EXPECT_EQ(files.createDirectory(folder / "a/b"), std::nullopt) << "existing folders are fine";
  EXPECT_THAT(files.createDirectory(folder / "a/b/log/c")->localizedDescription, HasSubstr("Not a directory"));
  EXPECT_THAT(files.createDirectory(folder / "a/b/log")->localizedDescription, HasSubstr("Not a directory"));
}

TEST_F(LinuxFileManagerTest, AFullDiskLeavesTheOldFileAndNothingElse) {
  const auto file = folder / "log";
  ASSERT_EQ(files.writeAtomically(file, "old"), std::nullopt);
  std::optional<NSError> error;
  {
    const FullDisk full(1000);
    error = files.writeAtomically(file, std::string(5000, 'x'));
  }
  ASSERT_TRUE(error);
  EXPECT_THAT(error->localizedDescription, HasSubstr("File too large"));
  EXPECT_EQ(contentsOf(file), "old");
  EXPECT_EQ(entriesOf(folder.path()), 1u);
  EXPECT_TRUE(files.writeAtomically(folder / "missing/log", "x"));
  // The rename fails here, after all bytes were written.
  ASSERT_EQ(files.createDirectory(folder / "occupied"), std::nullopt);
  EXPECT_TRUE(files.writeAtomically(folder / "occupied", "x"));
  EXPECT_EQ(entriesOf(folder.path()), 2u);
}

TEST_F(LinuxFileManagerTest, ContentsAreTheBytesOfARegularFile) {
  const std::string bytes("\0\xff\r\n", 4);
  ASSERT_EQ(files.writeAtomically(folder / "file", bytes), std::nullopt);
  EXPECT_EQ(std::get<std::string>(files.contents(folder / "file")), bytes);
  EXPECT_EQ(std::get<std::string>(files.beginning(folder / "file", 3)), bytes.substr(0, 3));
  fill(folder / "empty", "");
  EXPECT_EQ(std::get<std::string>(files.contents(folder / "empty")), "");
  EXPECT_FALSE(std::get<std::string>(files.contents("/proc/self/status")).empty()) << "does not know its size";

  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  fill(folder / "huge", "");
  std::filesystem::resize_file(folder / "huge", std::uintmax_t{1} << 40);
  for (const char* name : {"missing", ".", "pipe", "huge"}) {
    EXPECT_EQ(std::get<NSError>(files.contents(folder / name)).isNoSuchFile, std::string(name) == "missing") << name;
  }
}

TEST_F(LinuxFileManagerTest, SettingAsideNeverReplacesAFile) {
  fill(folder / "a.json", "1");
  fill(folder / "a.unreadable-1.json", "theirs");
  EXPECT_EQ(std::get<std::filesystem::path>(files.setItemAside(folder / "a.json")), folder / "a.unreadable-2.json");
  EXPECT_EQ(contentsOf(folder / "a.unreadable-2.json"), "1");
  EXPECT_EQ(contentsOf(folder / "a.unreadable-1.json"), "theirs");
  EXPECT_TRUE(std::get<NSError>(files.setItemAside(folder / "a.json")).isNoSuchFile);
}

TEST_F(LinuxFileManagerTest, ALinkOfTheUsersIsFollowedAndStays) {
  std::filesystem::create_directory(folder / "elsewhere");
  std::filesystem::create_symlink("elsewhere/second", folder / "link");
  std::filesystem::create_symlink(folder / "elsewhere/log", folder / "elsewhere/second");
  for (const char* text : {"new", "newer"}) {
    EXPECT_EQ(files.writeAtomically(folder / "link", text), std::nullopt);
    EXPECT_EQ(contentsOf(folder / "elsewhere/log"), text);
  }
  EXPECT_EQ(std::get<std::filesystem::path>(files.setItemAside(folder / "link")),
            folder / "elsewhere/log.unreadable-1");
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_TRUE(std::get<NSError>(files.contents(folder / "link")).isNoSuchFile);

  // Another user's is replaced; only root can make one.
  if (geteuid() != 0) return;
  fill(folder / "elsewhere/log", "not to be written");
  ASSERT_EQ(lchown((folder / "link").c_str(), 65534, 65534), 0);
  EXPECT_EQ(files.writeAtomically(folder / "link", "mine"), std::nullopt);
  EXPECT_FALSE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_EQ(contentsOf(folder / "elsewhere/log"), "not to be written");
}

TEST_F(LinuxFileManagerTest, CopiesAreWholeAndPrivateOrNotThereAtAll) {
  std::string bytes(200'000, 'x');
  bytes[150'000] = '\0';
  fill(folder / "log", bytes);
  EXPECT_EQ(files.copyItem(folder / "log", folder / "copy"), std::nullopt);
  EXPECT_EQ(contentsOf(folder / "copy"), bytes);
  EXPECT_EQ(contentsOf(folder / "log"), bytes);
  EXPECT_EQ(modeOf(folder / "copy"), 0600u);

  fill(folder / "theirs", "2");
  std::filesystem::create_symlink("nowhere", folder / "link");
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  const std::size_t entries = entriesOf(folder.path());
  for (const char* taken : {"theirs", "link", "log"}) {
    EXPECT_THAT(files.copyItem(folder / "log", folder / taken)->localizedDescription, HasSubstr("File exists"));
  }
  for (const char* source : {"missing", "pipe", "."}) EXPECT_TRUE(files.copyItem(folder / source, folder / "new"));
  EXPECT_THAT(files.copyItem(folder / "log", folder / "none/new")->localizedDescription, HasSubstr("No such file"));
  {
    const FullDisk full(100'000);
    EXPECT_THAT(files.copyItem(folder / "log", folder / "new")->localizedDescription, HasSubstr("File too large"));
  }
  EXPECT_EQ(contentsOf(folder / "theirs"), "2");
  EXPECT_EQ(entriesOf(folder.path()), entries);
}

}  // namespace
}  // namespace platform::linux_desktop
