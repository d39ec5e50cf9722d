// What the programs that are fed with random input have in common.
#pragma once

#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace fuzz {

// Ends the program, which is how it says that this input is wrong.
inline void require(bool isSo, const char* what) {
  if (isSo) return;
  std::fprintf(stderr, "not so: %s\n", what);
  std::abort();
}

inline std::string text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// A file that is there as long as the program runs, in a folder of its own, which the environment names as the user's.
class InputFile {
 public:
  explicit InputFile(const std::string& name) {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnolet-fuzz-XXXXXX").string();
    require(::mkdtemp(pattern.data()) != nullptr, "there is a folder for the input");
    folder_ = pattern;
    path_ = folder_ / name;
    std::filesystem::create_directories(path_.parent_path());
    // No other thread runs yet. NOLINTNEXTLINE(concurrency-mt-unsafe)
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) ::setenv(variable, folder_.c_str(), 1);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }
  void fill(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }

 private:
  std::filesystem::path folder_;
  std::filesystem::path path_;
};

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
