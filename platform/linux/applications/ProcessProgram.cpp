#include "platform/linux/applications/ProcessProgram.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace platform::linux_desktop {
namespace {

struct Interpreter {
  std::string_view name;
  char codeOption;  // the next argument is then code, not a file
};

constexpr std::array<Interpreter, 7> interpreters{
    {{"python", 'c'}, {"perl", 'e'}, {"ruby", 'e'}, {"node", 'e'}, {"gjs", 'c'}, {"bash", 'c'}, {"dash", 'c'}}};

const Interpreter* interpreterNamed(std::string_view program) {
  const auto* found = std::find_if(interpreters.begin(), interpreters.end(), [&](const Interpreter& interpreter) {
    // Also with a version, as in python3.11.
    return program.starts_with(interpreter.name) &&
           std::all_of(program.begin() + static_cast<std::ptrdiff_t>(interpreter.name.size()), program.end(),
                       [](unsigned char c) { return std::isdigit(c) || c == '.'; });
  });
  return found == interpreters.end() ? nullptr : found;
}

std::string fileName(const std::string& path) {
  return std::filesystem::path(path).filename().string();
}

// The first argument that is no option. A script that has given its process a title has nothing else on its command
// line.
std::string scriptOf(const std::string& processFolder, const Interpreter& interpreter) {
  std::ifstream commandLine(processFolder + "/cmdline", std::ios::binary);
  std::string first;
  std::getline(commandLine, first, '\0');
  for (std::string argument; std::getline(commandLine, argument, '\0');) {
    if (argument.empty()) continue;
    if (!argument.starts_with('-')) return fileName(argument);
    if (!argument.starts_with("--") && argument.back() == interpreter.codeOption) return {};
  }
  const std::string title = fileName(first);
  return interpreterNamed(title) ? std::string() : title;
}

}  // namespace

ProcessProgram programOf(pid_t process) {
  const std::string folder = "/proc/" + std::to_string(process);
  std::error_code error;
  ProcessProgram program;
  program.executable = std::filesystem::read_symlink(folder + "/exe", error).filename().string();
  constexpr std::string_view replaced = " (deleted)";  // since the process was started
  if (program.executable.ends_with(replaced)) program.executable.resize(program.executable.size() - replaced.size());
  if (const auto* interpreter = interpreterNamed(program.executable)) program.script = scriptOf(folder, *interpreter);
  return program;
}

}  // namespace platform::linux_desktop
