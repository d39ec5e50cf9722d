// Files and folders. Any thread.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace platform {

// Why an operation failed, in words for a log.
struct NSError {
  std::string localizedDescription;
  bool isNoSuchFile = false;  // there is no file of that name
};

class NSFileManager {
 public:
  NSFileManager() = default;
  NSFileManager(const NSFileManager&) = delete;
  NSFileManager& operator=(const NSFileManager&) = delete;
  virtual ~NSFileManager() = default;

  static NSFileManager& defaultManager();

  // The user's own folders for application data, the preferred one first. May be empty.
  virtual std::vector<std::filesystem::path> applicationSupportDirectories() = 0;
  // The root folder for a user who has no home.
  virtual std::filesystem::path homeDirectoryForCurrentUser() = 0;

  // Each answers with the error, or with nothing when it succeeded.
  // Creates missing parents too; folders that it creates are private to the user.
  virtual std::optional<NSError> createDirectory(const std::filesystem::path& folder) = 0;
  // Replaces the file in one step and only after the bytes are on the disk: a reader sees the old or the new contents,
  // and a failure leaves the old file. The file is private to the user. A symbolic link that the user made stays, and
  // leads to the new file.
  virtual std::optional<NSError> writeAtomically(const std::filesystem::path& file, const std::string& bytes) = 0;
  // Renames a file, or what a symbolic link of the user's leads to, within its folder: "a.json" becomes
  // "a.unreadable-1.json", or 2, 3, ..., whichever is free. Answers with the new path.
  virtual std::variant<std::filesystem::path, NSError> setItemAside(const std::filesystem::path& file) = 0;

  // Copies a file. Fails if `to` exists, and leaves nothing behind when it fails.
  virtual std::optional<NSError> copyItem(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  // Main thread. What the user calls it: for an application its name in the user's language, else the file's name.
  virtual std::string displayNameAtPath(const std::filesystem::path& path) = 0;

  // The whole file, or why it cannot be read.
  virtual std::variant<std::string, NSError> contents(const std::filesystem::path& file) = 0;
};

}  // namespace platform
