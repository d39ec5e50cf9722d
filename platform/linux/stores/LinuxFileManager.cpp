#include "platform/linux/stores/LinuxFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/ReadableText.h"
#include "platform/linux/base/UserFolders.h"
#include "platform/linux/stores/DesktopEntries.h"

namespace platform::linux_desktop {
namespace {

constexpr mode_t privateFolder = 0700;
constexpr std::size_t mostContents = std::size_t{256} << 20;

NSError errorNow(const std::string& what, const std::filesystem::path& path) {
  return {what + ' ' + path.string() + ": " + std::generic_category().message(errno), errno == ENOENT};
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

// Where the user's own symbolic links lead from there. Whoever else made one is not to choose which file is replaced.
std::filesystem::path behindLinks(std::filesystem::path file) {
  constexpr int mostLinks = 40;  // as the kernel follows
  for (int i = 0; i < mostLinks; ++i) {
    struct stat status {};
    if (::lstat(file.c_str(), &status) != 0 || !S_ISLNK(status.st_mode) || status.st_uid != ::geteuid()) break;
    std::error_code error;
    const auto target = std::filesystem::read_symlink(file, error);
    if (error) break;
    file = folderOf(file) / target;
  }
  return file;
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

struct OpenFile {
  FileDescriptor descriptor;
  std::uintmax_t size = 0;
};

// For reading, without ever waiting for a pipe's writer.
std::variant<OpenFile, NSError> openRegular(const std::filesystem::path& path) {
  OpenFile file{FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))};
  struct stat status {};
  if (!file.descriptor.isOpen() || ::fstat(file.descriptor.get(), &status) != 0) return errorNow("cannot open", path);
  if (!S_ISREG(status.st_mode)) return NSError{"cannot open " + path.string() + ": not a regular file"};
  file.size = static_cast<std::uintmax_t>(status.st_size);
  return file;
}

// As read(), but that a signal does not end it.
ssize_t readSome(int descriptor, char* bytes, std::size_t count) {
  for (;;) {
    const ssize_t got = ::read(descriptor, bytes, count);
    if (got >= 0 || errno != EINTR) return got;
  }
}

// At most `length` bytes, in one piece of memory that is not moved: there is room for one byte more, to see the end.
// Some files do not know their size, and a file may grow meanwhile.
std::variant<std::string, NSError> read(const OpenFile& file, const std::filesystem::path& path, std::size_t length) {
  std::string bytes(static_cast<std::size_t>(std::min<std::uintmax_t>(file.size + 1, length)), '\0');
  std::size_t got = 0;
  while (got < length) {
    if (got == bytes.size()) bytes.resize(std::min(got + 4096, length));
    const ssize_t count = readSome(file.descriptor.get(), bytes.data() + got, bytes.size() - got);
    if (count < 0) return errorNow("cannot read", path);
    if (count == 0) break;
    got += static_cast<std::size_t>(count);
  }
  bytes.resize(got);
  return bytes;
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
  const auto target = behindLinks(file);
  TemporaryFile temporary(target);
  if (!temporary.isOpen() || !temporary.fill(bytes) || !temporary.renameTo(target)) {
    return errorNow("cannot write", target);
  }
  flushFolder(folderOf(target));
  return std::nullopt;
}

std::variant<std::filesystem::path, NSError> LinuxFileManager::setItemAside(const std::filesystem::path& file) {
  const auto from = behindLinks(file);
  std::filesystem::path to;
  int number = 0;
  do {
    to = from;
    to.replace_filename(from.stem().string() + ".unreadable-" + std::to_string(++number) + from.extension().string());
    if (renameWithoutReplacing(from, to)) {
      flushFolder(folderOf(to));
      return to;
    }
  } while (errno == EEXIST);
  return errorNow("cannot move to " + to.string() + " the file", from);
}

std::optional<NSError> LinuxFileManager::copyItem(const std::filesystem::path& from, const std::filesystem::path& to) {
  auto source = openRegular(from);
  if (auto* error = std::get_if<NSError>(&source)) return std::move(*error);
  TemporaryFile copy(to);
  if (!copy.isOpen() || !copy.fillFrom(std::get<OpenFile>(source).descriptor.get()) || !copy.renameToNew(to)) {
    return errorNow("cannot copy to " + to.string() + " the file", from);
  }
  flushFolder(folderOf(to));
  return std::nullopt;
}

std::string LinuxFileManager::displayNameAtPath(const std::filesystem::path& path) {
  const auto entry = desktopEntryAt(path);
  const std::string name = entry ? readableName(entry->name) : std::string();
  return name.empty() ? readableName(path.filename().string()) : name;
}

std::variant<std::string, NSError> LinuxFileManager::contents(const std::filesystem::path& file) {
  auto opened = openRegular(file);
  if (auto* error = std::get_if<NSError>(&opened)) return std::move(*error);
  const auto tooLarge = [](std::uintmax_t size) { return size > mostContents; };
  const NSError error{"cannot read " + file.string() + ": larger than 256 MiB"};
  if (tooLarge(std::get<OpenFile>(opened).size)) return error;
  auto bytes = read(std::get<OpenFile>(opened), file, mostContents + 1);
  if (const auto* text = std::get_if<std::string>(&bytes); text && tooLarge(text->size())) return error;
  return bytes;
}

std::variant<std::string, NSError> LinuxFileManager::beginning(const std::filesystem::path& file, std::size_t length) {
  auto opened = openRegular(file);
  if (auto* error = std::get_if<NSError>(&opened)) return std::move(*error);
  return read(std::get<OpenFile>(opened), file, length);
}

}  // namespace platform::linux_desktop
