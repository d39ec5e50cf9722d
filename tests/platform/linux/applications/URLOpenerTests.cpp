#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/applications/URLOpener.h"
#include "tests/platform/linux/EventLoop.h"
#include "tests/platform/linux/TestFolder.h"
#include "tests/platform/linux/applications/DesktopEntriesFolder.h"

namespace platform::linux_desktop {
namespace {

constexpr char accessibility[] = "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
constexpr char listenEvent[] = "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";

// A desktop whose programs only write down how they were called.
class URLOpenerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { desktopEntriesFolder(); }

  URLOpenerTest() {
    addProgram("xdg-open");
    fill(folder / "accessibility.html", "help");
    fill(folder / "input-monitoring.html", "help");
  }
  void addProgram(const std::string& name) {
    fill(folder / name, "#!/bin/sh\necho " + name + " \"$@\" >'" + (folder / "call").string() + ".new'\n/bin/mv '" +
                            (folder / "call").string() + ".new' '" + (folder / "call").string() + "'\n");
    std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
  }
  // What was called, "refused" if nothing.
  std::string open(const std::string& url, const char* desktop = "") {
    const TestEnvironment environment({{"PATH", folder.path().c_str()}, {"XDG_CURRENT_DESKTOP", desktop}});
    std::filesystem::remove(folder / "call");
    if (!opener->open(url)) return "refused";
    EXPECT_TRUE(runUntil([&] { return std::filesystem::exists(folder / "call"); })) << url;
    return contentsOf(folder / "call");
  }

  TestFolder folder;
  std::unique_ptr<URLOpener> opener = std::make_unique<URLOpener>(folder.path());
};

TEST_F(URLOpenerTest, PermissionsOpenTheSettingsOfThisDesktopElseTheirHelpPage) {
  const std::string help = "xdg-open file://" + folder.path().string();
  for (const char* program : {"gnome-control-center", "systemsettings5", "xfce4-settings-manager",
                              "mate-control-center", "cinnamon-settings"}) {
    addProgram(program);
  }
  EXPECT_EQ(open(accessibility, "ubuntu:GNOME"), "gnome-control-center\n");
  EXPECT_EQ(open(listenEvent, "KDE"), "systemsettings5\n");
  addProgram("systemsettings");
  EXPECT_EQ(open(listenEvent, "KDE"), "systemsettings\n");
  EXPECT_EQ(open(accessibility, "XFCE"), "xfce4-settings-manager\n");
  EXPECT_EQ(open(accessibility, "MATE"), "mate-control-center\n");
  EXPECT_EQ(open(accessibility, "X-Cinnamon"), "cinnamon-settings\n");
  EXPECT_EQ(open(accessibility, "LXQt"), help + "/accessibility.html\n") << "those of another desktop do not count";
  EXPECT_EQ(open(listenEvent), help + "/input-monitoring.html\n");
  std::filesystem::remove(folder / "gnome-control-center");
  EXPECT_EQ(open(listenEvent, "GNOME"), help + "/input-monitoring.html\n") << "only what is installed can be started";
  std::filesystem::remove(folder / "input-monitoring.html");
  EXPECT_EQ(open(listenEvent, "GNOME"), "refused");
}

TEST_F(URLOpenerTest, OtherAddressesGoToTheDesktopIfAnythingOpensThem) {
  EXPECT_EQ(open("https://varnolet.example/a?b=c#d"), "xdg-open https://varnolet.example/a?b=c#d\n");
  EXPECT_EQ(open("appstream://app.varnolet.Varnolet"), "refused");
  fill(desktopEntriesFolder() / "org.test.Software.desktop",
       "[Desktop Entry]\nType=Application\nName=Software\nExec=/bin/true %U\nMimeType=x-scheme-handler/test-store;\n");
  fill(desktopEntriesFolder() / "mimeapps.list",
       "[Default Applications]\nx-scheme-handler/test-store=org.test.Software.desktop\n");
  EXPECT_TRUE(runUntil([&] { return open("test-store://app") == "xdg-open test-store://app\n"; }));
  for (const char* invalid : {"", "-version", "--help:x", "no-scheme", "x-apple.systempreferences:other"}) {
    EXPECT_EQ(open(invalid), "refused") << invalid;
  }
  std::filesystem::remove(folder / "xdg-open");
  EXPECT_EQ(open("https://varnolet.example/"), "refused");
}

TEST_F(URLOpenerTest, TheHelpPagesAreFoundFromTheProgramAndLeadToTheirPlaces) {
  const std::string prefix = "xdg-open file://";
  opener = std::make_unique<URLOpener>();
  for (const auto& [url, place] : {std::pair(accessibility, std::string("accessibility")),
                                   std::pair(listenEvent, std::string("input-monitoring"))}) {
    const std::string call = open(url);
    ASSERT_TRUE(call.starts_with(prefix)) << call;
    const std::filesystem::path page = call.substr(prefix.size(), call.size() - prefix.size() - 1);
    EXPECT_THAT(contentsOf(page), testing::HasSubstr("url=permissions.html#" + place));
    EXPECT_THAT(contentsOf(page.parent_path() / "permissions.html"), testing::HasSubstr("id=\"" + place + '"'));
  }
}

}  // namespace
}  // namespace platform::linux_desktop
