#include "tests/platform/linux/TestFolder.h"

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace platform::linux_desktop {
namespace {

void setVariable(const char* name, const QByteArray& value) {
  if (value.isNull()) {
    qunsetenv(name);
  } else {
    qputenv(name, value);
  }
}

}  // namespace

TestFolder::TestFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnolet-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) std::abort();
  path_ = pattern;
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

TestEnvironment::TestEnvironment(const std::vector<std::pair<const char*, const char*>>& variables) {
  for (const auto& [name, value] : variables) {
    before_.emplace_back(name, qgetenv(name));
    setVariable(name, QByteArray(value));
  }
}

TestEnvironment::~TestEnvironment() {
  for (const auto& [name, value] : before_) setVariable(name, value);
}

FullDisk::FullDisk(std::size_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  before_ = limit.rlim_cur;
  limit.rlim_cur = bytes;
  setrlimit(RLIMIT_FSIZE, &limit);
}

FullDisk::~FullDisk() {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = before_;
  setrlimit(RLIMIT_FSIZE, &limit);
}

std::string contentsOf(const std::filesystem::path& file) {
  std::ostringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  return bytes.str();
}

void fill(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

unsigned modeOf(const std::filesystem::path& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

}  // namespace platform::linux_desktop
