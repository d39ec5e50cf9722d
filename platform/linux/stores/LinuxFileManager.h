// Files that are private to the user.
#pragma once

#include <cstddef>

#include "platform/NSFileManager.h"

namespace platform::linux_desktop {

class LinuxFileManager : public NSFileManager {
 public:
  std::vector<std::filesystem::path> applicationSupportDirectories() override;
  std::filesystem::path homeDirectoryForCurrentUser() override;
  std::optional<NSError> createDirectory(const std::filesystem::path& folder) override;
  std::optional<NSError> writeAtomically(const std::filesystem::path& file, const std::string& bytes) override;
  std::variant<std::filesystem::path, NSError> setItemAside(const std::filesystem::path& file) override;
  std::optional<NSError> copyItem(const std::filesystem::path& from, const std::filesystem::path& to) override;
  // Always valid UTF-8 of bounded length.
  std::string displayNameAtPath(const std::filesystem::path& path) override;
  // Only regular files of up to 256 MiB have contents: a pipe would keep its reader waiting, and what is larger is not
  // to fill the memory.
  std::variant<std::string, NSError> contents(const std::filesystem::path& file) override;
  // The first so many bytes of a regular file of any size.
  std::variant<std::string, NSError> beginning(const std::filesystem::path& file, std::size_t length);
};

}  // namespace platform::linux_desktop
