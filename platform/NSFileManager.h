// Files and folders. Any thread.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// Why an operation failed, in words for a log.
struct NSError {
  std::string localizedDescription;
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
  // and a failure leaves the old file. The file is private to the user.
  virtual std::optional<NSError> writeAtomically(const std::filesystem::path& file, const std::string& bytes) = 0;
  // Renames within a folder. Fails if `to` exists.
  virtual std::optional<NSError> moveItem(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  // Copies a file. Fails if `to` exists, and leaves nothing behind when it fails.
  virtual std::optional<NSError> copyItem(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  // Main thread. What the user calls it: for an application its name in the user's language, else the file's name.
  virtual std::string displayNameAtPath(const std::filesystem::path& path) = 0;

  // The whole file; absent if it cannot be read.
  virtual std::optional<std::string> contents(const std::filesystem::path& file) = 0;
  virtual bool fileExists(const std::filesystem::path& file) = 0;
};

}  // namespace platform
