#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/stores/LinuxUserDefaults.h"
#include "tests/platform/linux/TestFolder.h"

namespace platform::linux_desktop {
namespace {

class LinuxUserDefaultsTest : public testing::Test {
 protected:
  static constexpr char key[] = "userSettings";

  std::filesystem::path file() const { return folder / "config" / "app.test.conf"; }

  TestFolder folder;
  TestEnvironment environment{{{"XDG_CONFIG_HOME", (folder / "config").c_str()}}};
  LinuxUserDefaults defaults{"app.test"};
};

TEST_F(LinuxUserDefaultsTest, BytesComeBackAsTheyWereStored) {
  std::string everyByte;
  for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
  for (const std::string& bytes :
       {std::string("{\"whitelist\":[\"a, b\"]}"), everyByte, std::string(), std::string("@")}) {
    defaults.standard()->set(bytes, key);
    EXPECT_EQ(LinuxUserDefaults("app.test").suite("app.test")->data(key), bytes);
  }
  EXPECT_EQ(defaults.standard()->data("other"), std::nullopt);
  EXPECT_EQ(modeOf(file()), 0600u);
  EXPECT_EQ(modeOf(folder / "config"), 0700u);
}

TEST_F(LinuxUserDefaultsTest, SeesWhatAnotherProcessStored) {
  const auto suite = defaults.standard();
  suite->set("old", key);
  std::string stored = contentsOf(file());
  stored.replace(stored.find("old"), 3, "newer");
  fill(file(), stored);
  EXPECT_EQ(suite->data(key), "newer");
  std::filesystem::remove(file());
  EXPECT_EQ(suite->data(key), std::nullopt);
}

TEST_F(LinuxUserDefaultsTest, AFileOfGarbageHasNoValuesAndIsSetAsideBeforeItIsOverwritten) {
  std::filesystem::create_directory(folder / "config");
  int number = 0;
  for (const std::string& garbage :
       {std::string("\0\xff\xfe[=%\n\n", 8), std::string("userSettings"), std::string("=\n=\n%"),
        std::string(1 << 20, '='), "large=" + std::string(30'000'000, 'x') + "\nuserSettings=late\n"}) {
    fill(file(), garbage);
    EXPECT_EQ(defaults.standard()->data(key), std::nullopt) << "all of the file was read";
    EXPECT_LT(defaults.standard()->data("large").value_or("").size(), 300'000u);
    defaults.standard()->set("value", key);
    EXPECT_EQ(LinuxUserDefaults("app.test").standard()->data(key), "value");
    const std::string aside = "config/app.test.unreadable-" + std::to_string(++number) + ".conf";
    EXPECT_TRUE(contentsOf(folder / aside) == garbage) << number;
  }
  ASSERT_TRUE(defaults.standard()->setAside());
  EXPECT_EQ(defaults.standard()->data(key), std::nullopt);
}

// Nothing waits for a pipe's writer, and what may be whole is left alone.
TEST_F(LinuxUserDefaultsTest, WhatIsNoFileIsNeitherReadNorReplaced) {
  for (const bool isPipe : {true, false}) {
    std::filesystem::create_directories(isPipe ? folder / "config" : file());
    ASSERT_TRUE(!isPipe || mkfifo(file().c_str(), 0600) == 0);
    const auto suite = defaults.standard();
    EXPECT_EQ(suite->data(key), std::nullopt);
    suite->set("value", key);
    EXPECT_EQ(suite->data(key), "value");
    EXPECT_FALSE(std::filesystem::is_regular_file(file()));
    std::filesystem::remove_all(folder / "config");
  }
}

TEST_F(LinuxUserDefaultsTest, AStoreThatCannotBeWrittenKeepsItsValueForThisProcess) {
  const auto suite = defaults.standard();
  suite->set("old", key);
  for (const std::size_t size : {100'000u, 300'000u}) {  // more than the disk takes, and more than would be read
    const std::string large(size, 'x');
    const FullDisk full(size < 200'000 ? 1000 : 1'000'000);
    suite->set(large, key);
    EXPECT_EQ(defaults.standard()->data(key), large);
    EXPECT_NE(contentsOf(file()).find("old"), std::string::npos) << "the file on disk is the old one";
  }
  suite->set("new", key);
  EXPECT_EQ(LinuxUserDefaults("app.test").standard()->data(key), "new");
}

TEST_F(LinuxUserDefaultsTest, RefusesNamesThatAreNoFileNames) {
  for (const std::string& name : {std::string(), std::string("../x"), std::string("a/b"), std::string("a\0b", 3)}) {
    EXPECT_EQ(defaults.suite(name), nullptr);
  }
}

}  // namespace
}  // namespace platform::linux_desktop
