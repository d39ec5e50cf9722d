#include "platform/linux/LinuxFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/UserFolders.h"

namespace platform::linux_desktop {
namespace {

constexpr mode_t privateFolder = 0700;
constexpr std::size_t mostContents = std::size_t{256} << 20;

NSError errorNow(const std::string& what, const std::filesystem::path& path) {
  return {what + ' ' + path.string() + ": " + std::generic_category().message(errno)};
}

std::filesystem::path folderOf(const std::filesystem::path& file) {
  return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// A rename is on the disk only when its folder is. File systems that cannot do that have done what they can.
void flushFolder(const std::filesystem::path& folder) {
  const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor.isOpen()) ::fsync(descriptor.get());
}

// A file beside the one to be replaced, private from its first moment, removed again unless it was kept.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target)
      : path_((folderOf(target) / ('.' + target.filename().string() + ".XXXXXX")).string()),
        descriptor_(::mkostemp(path_.data(), O_CLOEXEC)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (descriptor_.isOpen() && !kept_) ::unlink(path_.c_str());
  }

  bool isOpen() const { return descriptor_.isOpen(); }
  bool fill(const std::string& bytes) { return writeAll(descriptor_.get(), bytes) && ::fsync(descriptor_.get()) == 0; }
  bool renameTo(const std::filesystem::path& target) {
    kept_ = ::rename(path_.c_str(), target.c_str()) == 0;
    return kept_;
  }

 private:
  std::string path_;
  FileDescriptor descriptor_;
  bool kept_ = false;
};

}  // namespace

std::vector<std::filesystem::path> LinuxFileManager::applicationSupportDirectories() {
  const auto folder = dataFolder();
  if (!folder) return {};
  return {*folder};
}

std::filesystem::path LinuxFileManager::homeDirectoryForCurrentUser() {
  return homeFolder().value_or("/");
}

std::optional<NSError> LinuxFileManager::createDirectory(const std::filesystem::path& folder) {
  std::filesystem::path path;
  for (const auto& part : folder) {
    path /= part;
    if (::mkdir(path.c_str(), privateFolder) != 0 && errno != EEXIST) return errorNow("cannot create folder", path);
  }
  std::error_code ignored;
  if (std::filesystem::is_directory(folder, ignored)) return std::nullopt;
  errno = ENOTDIR;
  return errorNow("cannot create folder", folder);
}

std::optional<NSError> LinuxFileManager::writeAtomically(const std::filesystem::path& file, const std::string& bytes) {
  TemporaryFile temporary(file);
  if (!temporary.isOpen() || !temporary.fill(bytes) || !temporary.renameTo(file)) {
    return errorNow("cannot write", file);
  }
  flushFolder(folderOf(file));
  return std::nullopt;
}

std::optional<NSError> LinuxFileManager::moveItem(const std::filesystem::path& from, const std::filesystem::path& to) {
  int result = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
  if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
    // This file system cannot look and rename in one step.
    if (fileExists(to)) {
      errno = EEXIST;
    } else {
      result = ::rename(from.c_str(), to.c_str());
    }
  }
  if (result != 0) return errorNow("cannot move to " + to.string() + " the file", from);
  flushFolder(folderOf(to));
  return std::nullopt;
}

std::optional<std::string> LinuxFileManager::contents(const std::filesystem::path& file) {
  const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (static_cast<std::size_t>(status.st_size) > mostContents) return std::nullopt;

  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t length = 0;
  for (;;) {
    if (length > mostContents) return std::nullopt;
    // Always room for one byte more, to see the end of a file that grows meanwhile.
    if (length == bytes.size()) bytes.resize(length + 4096);
    const ssize_t count = ::read(descriptor.get(), bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  bytes.resize(length);
  return bytes;
}

bool LinuxFileManager::fileExists(const std::filesystem::path& file) {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(file, ignored));
}

}  // namespace platform::linux_desktop
