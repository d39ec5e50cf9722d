// Damaged documents and a full disk: the program says what is wrong, goes on guarding, and destroys nothing.
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "Scene.h"

namespace {

using namespace stage;
using std::filesystem::path;

std::string readFile(const path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const path& file, const std::string& bytes) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << bytes;
}

TEST(DamagedFiles, AreReportedAndKept) {
  constexpr std::size_t hundredMegabytes = 100'000'000;
  Scene scene(WindowManager::openbox);
  const auto settings = scene.desktop.home() / "config" / "app.varnolet.Varnolet.conf";
  const std::string truncated = "userSettings={\"whitelist\":[\"a\"],\"gestureWindowMs\":50\n";
  writeFile(settings, truncated);
  const auto log = blockedEventsFile(scene.desktop);
  const auto endless = '[' + std::string(hundredMegabytes, ' ');
  writeFile(log, endless);

  scene.beginGuarding();
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "damaged files"));
  for (const char* words : {"Failed to decode UserSettings: ", "Failed to decode blocked events: "}) {
    EXPECT_TRUE(scene.guard->log().waitFor(words)) << scene.guard->log().text();
  }
  EXPECT_EQ(readFile(settings), truncated) << "the settings were changed";
  EXPECT_EQ(blockedEvents(scene.desktop, 1).size(), 1u) << "in the new log";
  const std::filesystem::directory_iterator folder(log.parent_path());
  EXPECT_TRUE(std::any_of(begin(folder), end(folder), [&](const auto& entry) {
    return entry.path() != log && readFile(entry.path()) == endless;
  })) << "the damaged log is gone";
}

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
