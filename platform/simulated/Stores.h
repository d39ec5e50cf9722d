// User defaults and files of the simulated desktop, kept in memory.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/Desktop.h"
#include "platform/simulated/Bundles.h"

namespace platform::simulated {

// Main thread, as the stores themselves.
class Defaults final : public UserDefaultsServices {
 public:
  void refuseSuite(const std::string& suiteName, bool refuse);

  // UserDefaultsServices
  std::shared_ptr<UserDefaults> suite(const std::string& suiteName) override;
  std::shared_ptr<UserDefaults> standard() override { return standard_; }

 private:
  class Store;

  static std::shared_ptr<UserDefaults> makeStore();

  std::set<std::string> refusedSuites_;
  std::map<std::string, std::shared_ptr<UserDefaults>> suites_;
  std::shared_ptr<UserDefaults> standard_ = makeStore();
};

// Any thread, where NSFileManager says nothing else.
class Files final : public NSFileManager {
 public:
  explicit Files(const Bundles& bundles) : bundles_(bundles) {}

  // The verbs of SimulatedDesktop.
  void setApplicationSupportDirectories(std::vector<std::filesystem::path> folders);
  void failWrites(std::optional<std::string> description);
  void failFolderCreation(std::optional<std::string> description);
  void failMoves(std::optional<std::string> description);
  void putFile(const std::filesystem::path& file, std::string bytes);
  void makeUnreadable(const std::filesystem::path& file);
  std::vector<std::filesystem::path> fileNames() const;

  // NSFileManager
  std::vector<std::filesystem::path> applicationSupportDirectories() override;
  std::filesystem::path homeDirectoryForCurrentUser() override;
  std::optional<NSError> createDirectory(const std::filesystem::path& folder) override;
  std::optional<NSError> writeAtomically(const std::filesystem::path& file, const std::string& bytes) override;
  std::variant<std::filesystem::path, NSError> setItemAside(const std::filesystem::path& file) override;
  std::optional<NSError> copyItem(const std::filesystem::path& from, const std::filesystem::path& to) override;
  std::string displayNameAtPath(const std::filesystem::path& path) override;
  std::variant<std::string, NSError> contents(const std::filesystem::path& file) override;

 private:
  struct File {
    std::string bytes;
    bool isReadable = true;
  };

  void addFolder(std::filesystem::path folder);
  // With the mutex held: why `from` cannot be made `to`, if so.
  std::optional<NSError> obstacleBetween(const std::filesystem::path& from, const std::filesystem::path& to) const;
  static std::optional<NSError> errorOf(const std::optional<std::string>& description);

  const Bundles& bundles_;
  mutable std::mutex mutex_;
  std::vector<std::filesystem::path> applicationSupportDirectories_{"/home/user/.local/share"};
  std::optional<std::string> writeFailure_;
  std::optional<std::string> folderFailure_;
  std::optional<std::string> moveFailure_;
  std::set<std::filesystem::path> folders_{"/", "/home", "/home/user"};
  std::map<std::filesystem::path, File> files_;
};

}  // namespace platform::simulated
