#include "platform/linux/LinuxFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "platform/linux/DesktopEntries.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/ReadableText.h"
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

bool isThere(const std::filesystem::path& file) {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(file, ignored));
}

// False, with errno set, also if `to` exists.
bool renameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // This file system cannot look and rename in one step.
  if (isThere(to)) {
    errno = EEXIST;
    return false;
  }
  return ::rename(from.c_str(), to.c_str()) == 0;
}

// For reading, without ever waiting for a pipe's writer. Not open if it is no regular file, and then errno says why.
FileDescriptor openRegular(const std::filesystem::path& file, std::uintmax_t& size) {
  FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0) return FileDescriptor();
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return FileDescriptor();
  }
  size = static_cast<std::uintmax_t>(status.st_size);
  return descriptor;
}

// As read(), but that a signal does not end it.
ssize_t readSome(int descriptor, char* bytes, std::size_t count) {
  for (;;) {
    const ssize_t got = ::read(descriptor, bytes, count);
    if (got >= 0 || errno != EINTR) return got;
  }
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
  bool fillFrom(int source) {
    std::array<char, 65536> bytes{};
    for (;;) {
      const ssize_t count = readSome(source, bytes.data(), bytes.size());
      if (count <= 0) return count == 0 && ::fsync(descriptor_.get()) == 0;
      if (!writeAll(descriptor_.get(), {bytes.data(), static_cast<std::size_t>(count)})) return false;
    }
  }
  bool renameTo(const std::filesystem::path& target) {
    kept_ = ::rename(path_.c_str(), target.c_str()) == 0;
    return kept_;
  }
  bool renameToNew(const std::filesystem::path& target) {
    kept_ = renameWithoutReplacing(path_, target);
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
  if (!renameWithoutReplacing(from, to)) return errorNow("cannot move to " + to.string() + " the file", from);
  flushFolder(folderOf(to));
  return std::nullopt;
}

std::optional<NSError> LinuxFileManager::copyItem(const std::filesystem::path& from, const std::filesystem::path& to) {
  const std::string what = "cannot copy to " + to.string() + " the file";
  std::uintmax_t size = 0;
  const FileDescriptor source = openRegular(from, size);
  if (!source.isOpen()) return errorNow(what, from);
  TemporaryFile copy(to);
  if (!copy.isOpen() || !copy.fillFrom(source.get()) || !copy.renameToNew(to)) return errorNow(what, from);
  flushFolder(folderOf(to));
  return std::nullopt;
}

std::string LinuxFileManager::displayNameAtPath(const std::filesystem::path& path) {
  const auto entry = desktopEntryAt(path);
  return readableName(entry && !entry->name.empty() ? entry->name : path.filename().string());
}

std::optional<std::string> LinuxFileManager::contents(const std::filesystem::path& file) {
  std::uintmax_t size = 0;
  const FileDescriptor descriptor = openRegular(file, size);
  if (!descriptor.isOpen() || size > mostContents) return std::nullopt;

  std::string bytes(static_cast<std::size_t>(size), '\0');
  std::size_t length = 0;
  for (;;) {
    if (length > mostContents) return std::nullopt;
    // Always room for one byte more, to see the end of a file that grows meanwhile.
    if (length == bytes.size()) bytes.resize(length + 4096);
    const ssize_t count = readSome(descriptor.get(), bytes.data() + length, bytes.size() - length);
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  bytes.resize(length);
  return bytes;
}

bool LinuxFileManager::fileExists(const std::filesystem::path& file) {
  return isThere(file);
}

}  // namespace platform::linux_desktop
