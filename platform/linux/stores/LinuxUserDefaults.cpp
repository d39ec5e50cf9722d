#include "platform/linux/stores/LinuxUserDefaults.h"

#include <QByteArray>
#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>
#include <variant>

#include "platform/Log.h"
#include "platform/linux/base/UserFolders.h"
#include "platform/linux/stores/LinuxFileManager.h"

namespace platform::linux_desktop {
namespace {

// A larger file is none of ours: it would hold thousands of whitelisted applications. Only so much is read, since every
// check of the whitelist reads and decodes it while a theft waits for its verdict; a value that is cut off makes no
// sense to whoever decodes it, who says so.
constexpr std::size_t largestFile = std::size_t{256} << 10;
constexpr Logger logger(LogCategory::lifecycle);
constexpr char readable[] = " !\"#&'()*+,/:;<>?@[]^{|}";

struct Stored {
  std::map<std::string, std::string> values;
  bool isComplete = true;  // false if the file holds more than these values
};

// A file is a line "key=value" for each value, with everything but readable characters percent-encoded.
Stored valuesIn(const std::string& bytes) {
  Stored stored;
  stored.isComplete = bytes.size() <= largestFile;
  for (std::size_t start = 0; start < bytes.size();) {
    const auto end = std::min(bytes.find('\n', start), bytes.size());
    const auto line = QByteArray::fromRawData(bytes.data() + start, static_cast<qsizetype>(end - start));
    start = end + 1;
    const auto separator = line.indexOf('=');
    if (separator < 0) {
      stored.isComplete = false;
      continue;
    }
    stored.values[QByteArray::fromPercentEncoding(line.first(separator)).toStdString()] =
        QByteArray::fromPercentEncoding(line.sliced(separator + 1)).toStdString();
  }
  return stored;
}

std::string linesOf(const std::map<std::string, std::string>& values) {
  QByteArray lines;
  for (const auto& [key, value] : values) {
    lines += QByteArray::fromStdString(key).toPercentEncoding() + '=' +
             QByteArray::fromStdString(value).toPercentEncoding(readable) + '\n';
  }
  return lines.toStdString();
}

// One suite. Each reading and writing opens the file anew, so that what other processes stored is seen.
class SuiteInFile : public UserDefaults {
 public:
  explicit SuiteInFile(std::optional<std::filesystem::path> file) : file_(std::move(file)) {}

  std::optional<std::string> data(const std::string& key) override {
    const auto kept = unwritten_.find(key);
    if (kept != unwritten_.end()) return kept->second;
    auto read = this->read();
    if (const auto* error = std::get_if<NSError>(&read)) {
      logger.error("Failed to read the settings store: %s", error->localizedDescription);
      return std::nullopt;
    }
    auto& values = std::get<Stored>(read).values;
    const auto found = values.find(key);
    if (found == values.end()) return std::nullopt;
    return std::move(found->second);
  }

  void set(const std::string& bytes, const std::string& key) override {
    if (const auto error = write(bytes, key)) {
      unwritten_[key] = bytes;
      logger.error("Failed to write the settings store: %s", error->localizedDescription);
    } else {
      unwritten_.erase(key);
    }
  }

  bool setAside() override {
    if (!file_) return true;
    const auto moved = LinuxFileManager().setItemAside(*file_);
    if (const auto* error = std::get_if<NSError>(&moved)) {
      logger.error("Failed to set aside the settings that cannot be read: %s", error->localizedDescription);
      return false;
    }
    logger.error("Set the settings that cannot be read aside as %s", std::get<std::filesystem::path>(moved).string());
    return true;
  }

 private:
  std::variant<Stored, NSError> read() const {
    if (!file_) return Stored();
    auto bytes = LinuxFileManager().beginning(*file_, largestFile + 1);
    if (auto* error = std::get_if<NSError>(&bytes)) {
      if (error->isNoSuchFile) return Stored();
      return std::move(*error);
    }
    return valuesIn(std::get<std::string>(bytes));
  }

  // Loses nothing: a file that is not all of our form is set aside.
  std::optional<NSError> write(const std::string& bytes, const std::string& key) {
    if (!file_) return NSError{"the user has no configuration folder"};
    auto read = this->read();
    if (auto* error = std::get_if<NSError>(&read)) return std::move(*error);
    auto& [values, isComplete] = std::get<Stored>(read);
    if (!isComplete) values.clear();
    values[key] = bytes;
    const std::string lines = linesOf(values);
    if (lines.size() > largestFile) return NSError{"the settings are larger than 256 KiB"};
    if (!isComplete && !setAside()) return NSError{"what is there cannot be set aside"};
    if (auto error = LinuxFileManager().createDirectory(file_->parent_path())) return error;
    return LinuxFileManager().writeAtomically(*file_, lines);
  }

  std::optional<std::filesystem::path> file_;  // absent if the user has no configuration folder
  std::map<std::string, std::string> unwritten_;
};

bool isFileName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.size() <= 200 &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

}  // namespace

LinuxUserDefaults::LinuxUserDefaults(std::string applicationIdentifier)
    : applicationIdentifier_(std::move(applicationIdentifier)) {}

std::shared_ptr<UserDefaults> LinuxUserDefaults::suite(const std::string& suiteName) {
  if (!isFileName(suiteName)) return nullptr;
  std::weak_ptr<UserDefaults>& known = suites_[suiteName];
  auto suite = known.lock();
  if (!suite) {
    auto file = configFolder();
    if (file) *file /= suiteName + ".conf";
    suite = std::make_shared<SuiteInFile>(std::move(file));
    known = suite;
  }
  return suite;
}

std::shared_ptr<UserDefaults> LinuxUserDefaults::standard() {
  return suite(applicationIdentifier_);
}

}  // namespace platform::linux_desktop
