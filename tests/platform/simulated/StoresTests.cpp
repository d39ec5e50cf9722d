// Files and settings of the simulated desktop where they fail.
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

TEST(Files, are_written_only_into_folders_that_exist_and_keep_their_contents_when_a_write_fails) {
  SimulatedDesktop desktop;
  auto& files = NSFileManager::defaultManager();
  const auto folder = files.applicationSupportDirectories().at(0) / "Product" / "Sub";
  EXPECT_TRUE(files.writeAtomically(folder / "a", "1"));
  EXPECT_FALSE(files.createDirectory(folder));
  EXPECT_FALSE(files.createDirectory(folder));
  EXPECT_FALSE(files.writeAtomically(folder / "a", "1"));
  desktop.failWrites("No space left on device");
  EXPECT_EQ(files.writeAtomically(folder / "a", "2").value().localizedDescription, "No space left on device");
  EXPECT_EQ(files.contents(folder / "a"), "1");
  desktop.failWrites(std::nullopt);
  EXPECT_FALSE(files.writeAtomically(folder / "a", "2"));
  EXPECT_EQ(files.contents(folder / "a"), "2");
}

TEST(Files, are_moved_but_never_over_another_and_an_unreadable_one_exists) {
  SimulatedDesktop desktop;
  auto& files = NSFileManager::defaultManager();
  desktop.putFile("/data/a", "1");
  desktop.putFile("/data/b", "2");
  EXPECT_TRUE(files.moveItem("/data/a", "/data/b"));
  EXPECT_EQ(files.contents("/data/b"), "2");
  desktop.makeUnreadable("/data/a");
  EXPECT_EQ(files.contents("/data/a"), std::nullopt);
  EXPECT_FALSE(files.moveItem("/data/a", "/data/c"));
  EXPECT_TRUE(files.fileExists("/data/c"));
  EXPECT_FALSE(files.fileExists("/data/a"));
  EXPECT_EQ(files.contents("/data/c"), std::nullopt);
}

TEST(Files, are_copied_but_never_over_another) {
  SimulatedDesktop desktop;
  auto& files = NSFileManager::defaultManager();
  desktop.putFile("/data/a", "1");
  desktop.putFile("/data/b", "2");
  EXPECT_FALSE(files.copyItem("/data/a", "/data/c"));
  EXPECT_EQ(files.contents("/data/a"), "1");
  EXPECT_EQ(files.contents("/data/c"), "1");
  EXPECT_TRUE(files.copyItem("/data/a", "/data/b"));
  desktop.failWrites("No space left on device");
  EXPECT_EQ(files.copyItem("/data/a", "/data/d").value().localizedDescription, "No space left on device");
  EXPECT_FALSE(files.fileExists("/data/d"));
}

TEST(Settings, are_shared_by_all_who_open_a_suite_and_apart_from_other_suites) {
  SimulatedDesktop desktop;
  UserDefaults::suite("one")->set("bytes", "key");
  EXPECT_EQ(UserDefaults::suite("one")->data("key"), "bytes");
  EXPECT_EQ(UserDefaults::suite("two")->data("key"), std::nullopt);
  EXPECT_EQ(UserDefaults::standard()->data("key"), std::nullopt);
  desktop.refuseSuite("one");
  EXPECT_EQ(UserDefaults::suite("one"), nullptr);
}

}  // namespace
}  // namespace platform::simulated
