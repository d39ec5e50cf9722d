#include "platform/simulated/Stores.h"

#include <utility>

namespace platform::simulated {

using std::filesystem::path;

class Defaults::Store final : public UserDefaults {
 public:
  std::optional<std::string> data(const std::string& key) override {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  void set(const std::string& bytes, const std::string& key) override { values_[key] = bytes; }
  // Each value goes to the key "aside.<its own>"; only once, because there is room for one.
  bool setAside() override {
    std::map<std::string, std::string> aside;
    for (const auto& [key, bytes] : values_) {
      if (key.starts_with("aside.")) return false;
      aside["aside." + key] = bytes;
    }
    values_ = std::move(aside);
    return true;
  }

 private:
  std::map<std::string, std::string> values_;
};

std::shared_ptr<UserDefaults> Defaults::makeStore() {
  return std::make_shared<Store>();
}

void Defaults::refuseSuite(const std::string& suiteName, bool refuse) {
  if (refuse) {
    refusedSuites_.insert(suiteName);
  } else {
    refusedSuites_.erase(suiteName);
  }
}

std::shared_ptr<UserDefaults> Defaults::suite(const std::string& suiteName) {
  if (refusedSuites_.contains(suiteName)) return nullptr;
  auto& store = suites_[suiteName];
  if (!store) store = makeStore();
  return store;
}

void Files::setApplicationSupportDirectories(std::vector<path> folders) {
  const std::lock_guard lock(mutex_);
  applicationSupportDirectories_ = std::move(folders);
}

void Files::failWrites(std::optional<std::string> description) {
  const std::lock_guard lock(mutex_);
  writeFailure_ = std::move(description);
}

void Files::failFolderCreation(std::optional<std::string> description) {
  const std::lock_guard lock(mutex_);
  folderFailure_ = std::move(description);
}

void Files::failMoves(std::optional<std::string> description) {
  const std::lock_guard lock(mutex_);
  moveFailure_ = std::move(description);
}

void Files::putFile(const path& file, std::string bytes) {
  const std::lock_guard lock(mutex_);
  addFolder(file.parent_path());
  files_[file] = File{std::move(bytes), true};
}

void Files::makeUnreadable(const path& file) {
  const std::lock_guard lock(mutex_);
  files_.at(file).isReadable = false;
}

std::vector<path> Files::fileNames() const {
  const std::lock_guard lock(mutex_);
  std::vector<path> names;
  for (const auto& [name, file] : files_) names.push_back(name);
  return names;
}

std::vector<path> Files::applicationSupportDirectories() {
  const std::lock_guard lock(mutex_);
  return applicationSupportDirectories_;
}

path Files::homeDirectoryForCurrentUser() {
  return "/home/user";
}

std::optional<NSError> Files::createDirectory(const path& folder) {
  const std::lock_guard lock(mutex_);
  if (folderFailure_) return errorOf(folderFailure_);
  if (files_.contains(folder)) return NSError{"A file is in the way."};
  addFolder(folder);
  return std::nullopt;
}

std::optional<NSError> Files::writeAtomically(const path& file, const std::string& bytes) {
  const std::lock_guard lock(mutex_);
  if (writeFailure_) return errorOf(writeFailure_);
  if (!folders_.contains(file.parent_path())) return NSError{"The folder does not exist."};
  files_[file] = File{bytes, true};
  return std::nullopt;
}

std::variant<path, NSError> Files::setItemAside(const path& file) {
  const std::lock_guard lock(mutex_);
  if (moveFailure_) return NSError{*moveFailure_};
  path aside;
  int number = 0;
  do {
    const auto name = file.stem().string() + ".unreadable-" + std::to_string(++number) + file.extension().string();
    aside = file.parent_path() / name;
  } while (files_.contains(aside));
  auto node = files_.extract(file);
  if (node.empty()) return NSError{"The file does not exist.", true};
  node.key() = aside;
  files_.insert(std::move(node));
  return aside;
}

std::optional<NSError> Files::copyItem(const path& from, const path& to) {
  const std::lock_guard lock(mutex_);
  if (writeFailure_) return errorOf(writeFailure_);
  if (auto obstacle = obstacleBetween(from, to)) return obstacle;
  if (!files_.at(from).isReadable) return NSError{"The file cannot be read."};
  files_[to] = files_.at(from);
  return std::nullopt;
}

std::string Files::displayNameAtPath(const path& file) {
  const auto* application = bundles_.find(file);
  return application ? application->displayName : file.filename().string();
}

std::variant<std::string, NSError> Files::contents(const path& file) {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(file);
  if (found == files_.end()) return NSError{"The file does not exist.", true};
  if (!found->second.isReadable) return NSError{"The file cannot be read."};
  return found->second.bytes;
}

void Files::addFolder(path folder) {
  while (folders_.insert(folder).second && folder.has_relative_path()) folder = folder.parent_path();
}

std::optional<NSError> Files::obstacleBetween(const path& from, const path& to) const {
  if (!files_.contains(from)) return NSError{"The file does not exist."};
  if (files_.contains(to) || folders_.contains(to)) return NSError{"The destination exists already."};
  if (!folders_.contains(to.parent_path())) return NSError{"The folder does not exist."};
  return std::nullopt;
}

std::optional<NSError> Files::errorOf(const std::optional<std::string>& description) {
  if (!description) return std::nullopt;
  return NSError{*description};
}

}  // namespace platform::simulated
