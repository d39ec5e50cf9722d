// A folder for one test, and environment variables for as long.
#pragma once

#include <QByteArray>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace platform::linux_desktop {

// A fresh folder below the system's temporary one, removed with everything in it.
class TestFolder {
 public:
  TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  ~TestFolder();

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// Sets variables of the environment, or removes those whose value is null, and puts them back at the end.
class TestEnvironment {
 public:
  explicit TestEnvironment(const std::vector<std::pair<const char*, const char*>>& variables);
  TestEnvironment(const TestEnvironment&) = delete;
  TestEnvironment& operator=(const TestEnvironment&) = delete;
  ~TestEnvironment();

 private:
  std::vector<std::pair<const char*, QByteArray>> before_;
};

// Makes writing to any file beyond `bytes` fail, as on a full disk.
class FullDisk {
 public:
  explicit FullDisk(std::size_t bytes);
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk();

 private:
  std::size_t before_ = 0;
};

std::string contentsOf(const std::filesystem::path& file);
void fill(const std::filesystem::path& file, const std::string& bytes);
// The permission bits.
unsigned modeOf(const std::filesystem::path& path);

}  // namespace platform::linux_desktop
