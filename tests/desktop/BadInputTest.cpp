// What the world may hand to the program: windows without a name, damaged documents, a full disk. It says what is
// wrong, goes on guarding, and destroys nothing.
#include <sys/mount.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "Scene.h"

namespace {

using namespace stage;
using std::filesystem::path;

constexpr std::size_t hundredMegabytes = 100'000'000;

struct Damage {
  const char* name;
  std::string (*bytes)();
};

std::string readFile(const path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const path& file, const std::string& bytes) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << bytes;
}

// A thief whose window lacks or garbles what applications are known by.
struct OddWindow {
  const char* name;
  std::vector<std::string> options;
};

class OddWindows : public testing::TestWithParam<OddWindow> {};

TEST_P(OddWindows, AreThievesLikeOthers) {
  Scene scene(WindowManager::openbox, GetParam().options);
  scene.beginGuarding();
  for (const auto theft : {Theft::byRequest, Theft::byNewWindow}) {
    ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(theft, "an odd window"));
  }
  const auto events = blockedEvents(scene.desktop, 1);
  ASSERT_FALSE(events.empty());
  EXPECT_TRUE(events.front().ends_with(" > stage-editor")) << events.front();
  EXPECT_FALSE(events.front().starts_with(" >")) << "a thief with an empty name";
}

const auto oddWindows = testing::Values(
    OddWindow{"WithoutProcessId", {"--no-pid"}}, OddWindow{"WithoutAnyName", {"--no-pid", "--class=", "--title="}},
    OddWindow{"WithInvalidText", {"--title=\xff\xfe\xc3(", "--class=\xc0\xaf\xf5"}});
INSTANTIATE_TEST_SUITE_P(Windows, OddWindows, oddWindows, [](const auto& window) { return window.param.name; });

class DamagedSettings : public testing::TestWithParam<Damage> {};

TEST_P(DamagedSettings, AreReportedAndLeftAsTheyAre) {
  Scene scene(WindowManager::openbox);
  const auto file = scene.desktop.home() / "config" / "app.varnolet.Varnolet.conf";
  const auto bytes = "userSettings=" + GetParam().bytes() + '\n';
  writeFile(file, bytes);
  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "damaged settings"));
  EXPECT_TRUE(scene.guard->log().waitFor("Failed to decode UserSettings: ")) << scene.guard->log().text();
  EXPECT_TRUE(readFile(file) == bytes) << "the settings were changed";
}

INSTANTIATE_TEST_SUITE_P(
    That, DamagedSettings,
    testing::Values(Damage{"AreEmpty", [] { return std::string(); }},
                    Damage{"AreTruncated", [] { return std::string(R"({"whitelist":["a"],"gestureWindowMs":50)"); }},
                    Damage{"AreNoObject", [] { return std::string(R"(["whitelist"])"); }},
                    Damage{"HaveAWrongType",
                           [] {
                             return std::string(R"({"whitelist":[],"gestureWindowMs":"500","bufferTimeoutMs":500,)"
                                                R"("notificationsEnabled":true,"soundEnabled":true,)"
                                                R"("logRetentionDays":30,"launchAtLogin":false})");
                           }},
                    Damage{"AreHuge", [] { return R"({"whitelist":[")" + std::string(hundredMegabytes, 'a'); }}),
    [](const auto& damage) { return damage.param.name; });

class DamagedLog : public testing::TestWithParam<Damage> {};

TEST_P(DamagedLog, IsReportedAndSetAside) {
  Scene scene(WindowManager::openbox);
  const auto file = blockedEventsFile(scene.desktop);
  const auto bytes = GetParam().bytes();
  writeFile(file, bytes);
  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "a damaged log"));
  EXPECT_TRUE(scene.guard->log().waitFor("Failed to decode blocked events: ")) << scene.guard->log().text();
  EXPECT_EQ(blockedEvents(scene.desktop, 1).size(), 1u) << "in the new log";
  bool isKept = false;
  for (const auto& entry : std::filesystem::directory_iterator(file.parent_path())) {
    if (entry.path() != file && readFile(entry.path()) == bytes) isKept = true;
  }
  EXPECT_TRUE(isKept) << "the damaged log is gone";
}

INSTANTIATE_TEST_SUITE_P(That, DamagedLog,
                         testing::Values(Damage{"IsEmpty", [] { return std::string(); }},
                                         Damage{"IsTruncated", [] { return std::string(R"([{"id":"0)"); }},
                                         Damage{"IsNoArray", [] { return std::string(R"({"id":1})"); }},
                                         Damage{"HasWrongTypes", [] { return std::string(R"([{"id":1}])"); }},
                                         Damage{"IsHuge", [] { return '[' + std::string(hundredMegabytes, ' '); }}),
                         [](const auto& damage) { return damage.param.name; });

// A small file system of its own on a folder.
class SmallDisk {
 public:
  explicit SmallDisk(path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    isMounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=64k,mode=0700") == 0;
    error_ = errno;
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  ~SmallDisk() {
    if (isMounted_) ::umount2(folder_.c_str(), MNT_DETACH);
  }
  bool isMounted() const { return isMounted_; }
  int error() const { return error_; }
  void fill() const { std::ofstream(folder_ / "ballast") << std::string(twiceItsSize, 'x') << std::flush; }
  void empty() const { std::filesystem::remove(folder_ / "ballast"); }

 private:
  static constexpr std::size_t twiceItsSize = 131072;

  path folder_;
  bool isMounted_ = false;
  int error_ = 0;
};

TEST(FullDisk, KeepsTheOldLogAndIsReported) {
  Scene scene(WindowManager::openbox);
  const auto file = blockedEventsFile(scene.desktop);
  const SmallDisk disk(file.parent_path());
  if (!disk.isMounted())
    GTEST_SKIP() << "no file system may be mounted here: " << std::generic_category().message(disk.error());
  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "the disk has room"));
  ASSERT_EQ(blockedEvents(scene.desktop, 1).size(), 1u);
  const auto before = readFile(file);

  disk.fill();
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "the disk is full"));
  EXPECT_TRUE(scene.guard->log().waitFor("Failed to write blocked events: ")) << scene.guard->log().text();
  EXPECT_EQ(readFile(file), before) << "the full disk cost the old log";

  disk.empty();
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "the disk has room again"));
  EXPECT_EQ(blockedEvents(scene.desktop, 2).size(), 2u);
}

}  // namespace
