#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/applications/InstalledApplications.h"
#include "platform/linux/stores/LinuxFileManager.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/TestFolder.h"
#include "tests/platform/linux/applications/DesktopEntriesFolder.h"

namespace platform::linux_desktop {
namespace {

using testing::Contains;
using testing::Not;

std::string entry(const std::string& name, const std::string& more = "") {
  return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=/bin/true %U\n" + more;
}

class InstalledApplicationsTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { desktopEntriesFolder(); }

  std::filesystem::path install(const std::string& file, const std::string& bytes) {
    auto path = desktopEntriesFolder() / file;
    std::filesystem::create_directories(path.parent_path());
    fill(path, bytes);
    return path;
  }
  std::string locationOf(const std::string& identifier) {
    return installed.locationOf(identifier).value_or("nowhere").string();
  }
  std::vector<std::string> locations() {
    std::vector<std::string> paths;
    for (const auto& location : installed.locations()) paths.push_back(location.string());
    return paths;
  }
  std::optional<std::string> identifierAt(const std::filesystem::path& location) {
    const auto bundle = installed.bundleAt(location);
    return bundle ? bundle->bundleIdentifier.value_or("no identifier") : std::optional<std::string>();
  }

  TestFolder folder;
  LinuxFileManager files;
  InstalledApplications installed{"app.test"};
};

TEST_F(InstalledApplicationsTest, LeadFromIdentifierToLocationAndBack) {
  const auto plain = install("org.test.Plain.desktop", entry("Plain One", "Icon=plain-icon\n"));
  const auto nested = install("vendor/nested.desktop", entry("Nested", "Icon=/pictures/nested.png\nNoDisplay=true\n"));
  fill(folder / "gnome-control-center", "#!/bin/sh\n");
  std::filesystem::permissions(folder / "gnome-control-center", std::filesystem::perms::owner_all);
  const TestEnvironment environment({{"PATH", folder.path().c_str()}, {"XDG_CURRENT_DESKTOP", nullptr}});
  const auto settings = install("org.test.Settings.desktop",
                                "[Desktop Entry]\nType=Application\nName=Settings\nExec=gnome-control-center x\n");
  ASSERT_TRUE(runUntil([&] { return locationOf("vendor-nested") == nested; }));
  EXPECT_EQ(locationOf("org.test.Plain"), plain.string());
  EXPECT_EQ(identifierAt(plain), "org.test.Plain");
  EXPECT_EQ(identifierAt(nested), "vendor-nested");
  EXPECT_EQ(identifierAt(nested.parent_path() / "../vendor/nested.desktop"), "vendor-nested");
  EXPECT_EQ(InstalledApplications::iconOf(plain), "plain-icon");
  EXPECT_EQ(InstalledApplications::iconOf(nested), "/pictures/nested.png");
  EXPECT_EQ(files.displayNameAtPath(plain), "Plain One");
  EXPECT_EQ(locationOf("org.test.Other"), "nowhere");
  EXPECT_EQ(locationOf("../applications/org.test.Plain"), "nowhere");

  EXPECT_THAT(locations(), Contains(plain.string()));
  EXPECT_THAT(locations(), Not(Contains(nested.string()))) << "not for the user";
  // What a running settings centre is called, its entry is called too.
  EXPECT_EQ(identifierAt(settings), "com.apple.systempreferences");
  EXPECT_EQ(locationOf("com.apple.systempreferences"), settings.string());
  EXPECT_EQ(locationOf("org.test.Settings"), "nowhere");
}

TEST_F(InstalledApplicationsTest, AFileElsewhereHasNoIdentifierAndWhatIsNoEntryIsNoApplication) {
  fill(folder / "stray.desktop", entry("Stray"));
  EXPECT_EQ(identifierAt(folder / "stray.desktop"), "no identifier");
  EXPECT_EQ(files.displayNameAtPath(folder / "stray.desktop"), "Stray");

  fill(folder / "stray.txt", entry("Stray"));
  fill(folder / "garbage.desktop", "\xff\xfe garbage");
  fill(folder / "link.desktop", "[Desktop Entry]\nType=Link\nName=Link\nURL=https://varnolet.example/\n");
  fill(folder / "removed.desktop", entry("Removed", "Hidden=true\n"));
  fill(folder / "missing-program.desktop", entry("Missing", "TryExec=/nowhere/program\n"));
  fill(folder / "huge.desktop", entry("Huge", std::string(2U << 20U, '#')));
  ASSERT_EQ(mkfifo((folder / "pipe.desktop").c_str(), 0600), 0);
  std::filesystem::create_directory(folder / "folder.desktop");
  for (const char* name : {"stray.txt", "garbage.desktop", "link.desktop", "removed.desktop", "missing-program.desktop",
                           "huge.desktop", "pipe.desktop", "folder.desktop", "absent.desktop"}) {
    EXPECT_EQ(identifierAt(folder / name), std::nullopt) << name;
    EXPECT_EQ(files.displayNameAtPath(folder / name), name);
    EXPECT_EQ(InstalledApplications::iconOf(folder / name), "") << name;
  }
}

TEST_F(InstalledApplicationsTest, NamesOfAnyLengthAndBytesBecomeShortText) {
  const auto named = install("long.desktop", entry(std::string(5000, 'n')));
  const auto odd = install("odd\xff.desktop", entry("Odd"));
  const auto hostile = install("hostile.desktop", entry("A\\nB\u202EC"));
  const auto agent = install("com.apple.loginwindow.desktop", entry("Locker"));
  EXPECT_EQ(files.displayNameAtPath(named), std::string(200, 'n'));
  EXPECT_EQ(files.displayNameAtPath(hostile), "A BC") << "names are shown within lines of ours";
  EXPECT_EQ(identifierAt(odd), "odd\uFFFD");
  EXPECT_EQ(identifierAt(agent), "true") << "its program: no entry is an agent for its name";
  EXPECT_EQ(files.displayNameAtPath("/nowhere/\xff"), "\uFFFD");
}

}  // namespace
}  // namespace platform::linux_desktop
