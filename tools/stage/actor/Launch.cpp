#include "Launch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

namespace stage {
namespace {

[[noreturn]] void become(std::vector<std::string> words) {
  words.emplace_back("--started");
  const std::string program = words.front();
  // The one beside this one's own executable, which may have been given another name.
  const std::string file =
      program.find('/') == std::string::npos ? std::getenv("STAGE_ACTOR") : program;  // NOLINT(concurrency-mt-unsafe)
  words.front() = std::filesystem::path(program).filename();
  std::vector<char*> arguments{words.front().data()};
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  ::execv(file.c_str(), arguments.data());
  ::_exit(127);
}

}  // namespace

void launch(const std::string& program, Lineage lineage, std::chrono::milliseconds scriptTakes) {
  std::vector<std::string> words;
  std::istringstream stream(program);
  for (std::string word; stream >> word;) {
    std::replace(word.begin(), word.end(), '+', ' ');
    words.push_back(word);
  }
  if (::fork() != 0) return;
  if (lineage == Lineage::child) become(words);
  // What the script holds open would keep its parent's windows.
  ::close_range(STDERR_FILENO + 1, ~0U, 0);
  std::this_thread::sleep_for(scriptTakes);
  const pid_t child = ::fork();
  if (child == 0) become(words);
  if (lineage == Lineage::childOfScript) ::waitpid(child, nullptr, 0);
  ::_exit(0);
}

}  // namespace stage
