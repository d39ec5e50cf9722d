#include "platform/linux/base/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <QByteArray>
#include <vector>

namespace platform::linux_desktop {
namespace {

std::optional<std::filesystem::path> absolutePathIn(const char* variable) {
  std::filesystem::path path = qgetenv(variable).toStdString();
  if (!path.is_absolute()) return std::nullopt;
  return path;
}

std::optional<std::filesystem::path> homeOfPasswordEntry() {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return std::nullopt;
  std::filesystem::path home = found->pw_dir;
  if (!home.is_absolute()) return std::nullopt;
  return home;
}

std::optional<std::filesystem::path> folderOf(const char* variable, const char* below) {
  if (auto folder = absolutePathIn(variable)) return folder;
  const auto home = homeFolder();
  if (!home) return std::nullopt;
  return *home / below;
}

}  // namespace

std::optional<std::filesystem::path> homeFolder() {
  if (auto home = absolutePathIn("HOME")) return home;
  return homeOfPasswordEntry();
}

std::optional<std::filesystem::path> dataFolder() {
  return folderOf("XDG_DATA_HOME", ".local/share");
}

std::optional<std::filesystem::path> configFolder() {
  return folderOf("XDG_CONFIG_HOME", ".config");
}

}  // namespace platform::linux_desktop
