#include <gtest/gtest.h>

#include "TestFolder.h"
#include "platform/linux/LinuxUserDefaults.h"

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

TEST_F(LinuxUserDefaultsTest, AFileOfGarbageHasNoValuesAndCanBeOverwritten) {
  std::filesystem::create_directory(folder / "config");
  for (const std::string& garbage : {std::string(), std::string("\0\xff\xfe[=%\n", 7), std::string("userSettings"),
                                     std::string("=\n=\n%"), std::string(1 << 20, '=')}) {
    fill(file(), garbage);
    EXPECT_EQ(defaults.standard()->data(key), std::nullopt);
    defaults.standard()->set("value", key);
    EXPECT_EQ(LinuxUserDefaults("app.test").standard()->data(key), "value");
  }
}

TEST_F(LinuxUserDefaultsTest, AStoreThatCannotBeWrittenKeepsItsValueForThisProcess) {
  const auto suite = defaults.standard();
  suite->set("old", key);
  const std::string large(100000, 'x');
  {
    const FullDisk full(1000);
    suite->set(large, key);
  }
  EXPECT_EQ(defaults.standard()->data(key), large);
  EXPECT_NE(contentsOf(file()).find("old"), std::string::npos) << "the file on disk is the old one";
  suite->set("new", key);
  EXPECT_EQ(LinuxUserDefaults("app.test").standard()->data(key), "new");
}

TEST_F(LinuxUserDefaultsTest, ValuesThatWouldTakeTooLongToReadAreNeitherReadWholeNorWritten) {
  constexpr std::size_t tooLong = 300'000;
  std::filesystem::create_directory(folder / "config");
  fill(file(), "large=" + std::string(100 * tooLong, 'x') + "\nuserSettings=late\n");
  EXPECT_LT(defaults.standard()->data("large").value_or("").size(), tooLong);
  EXPECT_EQ(defaults.standard()->data(key), std::nullopt) << "the rest of the file was read";

  fill(file(), "userSettings=old\n");
  const auto suite = defaults.standard();
  const std::string large(tooLong, 'x');
  suite->set(large, key);
  EXPECT_EQ(suite->data(key), large);
  EXPECT_EQ(contentsOf(file()), "userSettings=old\n");
}

TEST_F(LinuxUserDefaultsTest, RefusesNamesThatAreNoFileNames) {
  for (const std::string& name : {std::string(), std::string("../x"), std::string("a/b"), std::string("a\0b", 3)}) {
    EXPECT_EQ(defaults.suite(name), nullptr);
  }
}

}  // namespace
}  // namespace platform::linux_desktop
