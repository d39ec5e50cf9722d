#include "platform/linux/LinuxUserDefaults.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QFileDevice>
#include <QSettings>
#include <filesystem>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/UserFolders.h"

namespace platform::linux_desktop {
namespace {

constexpr mode_t privateFile = 0600;
// A longer line is none of ours: it would hold thousands of whitelisted applications. The file is read up to here only,
// since every check of the whitelist reads and decodes it while a theft waits for its verdict; a value that is cut off
// makes no sense to whoever decodes it, who says so.
constexpr qint64 longestLine = 256 << 10;
constexpr Logger logger(LogCategory::lifecycle);
constexpr char readable[] = " !\"#&'()*+,/:;<>?@[]^{|}";

// A file is a line "key=value" for each value, with everything but readable characters percent-encoded. The ready-made
// formats of QSettings do not look at whether their bytes could be written, and replace the file by half of it when the
// disk is full.
bool readLines(QIODevice& device, QSettings::SettingsMap& values) {
  while (!device.atEnd()) {
    const QByteArray line = device.readLine(longestLine);
    const auto separator = line.indexOf('=');
    if (separator < 0) continue;
    const auto end = line.endsWith('\n') ? line.size() - 1 : line.size();
    values.insert(QString::fromUtf8(QByteArray::fromPercentEncoding(line.first(separator))),
                  QByteArray::fromPercentEncoding(line.sliced(separator + 1, end - separator - 1)));
    if (!line.endsWith('\n')) break;
  }
  return true;
}

bool writeLines(QIODevice& device, const QSettings::SettingsMap& values) {
  QByteArray lines;
  for (auto value = values.begin(); value != values.end(); ++value) {
    const QByteArray line =
        value.key().toUtf8().toPercentEncoding() + '=' + value->toByteArray().toPercentEncoding(readable) + '\n';
    if (line.size() >= longestLine) return false;
    lines += line;
  }
  auto* file = qobject_cast<QFileDevice*>(&device);
  return device.write(lines) == lines.size() && (!file || file->flush());
}

// One suite. Each reading and writing opens the file anew, so that what other processes stored is seen.
class SuiteInFile : public UserDefaults {
 public:
  explicit SuiteInFile(std::optional<std::filesystem::path> file) : file_(std::move(file)) {}

  std::optional<std::string> data(const std::string& key) override {
    const auto kept = unwritten_.find(key);
    if (kept != unwritten_.end()) return kept->second;
    if (!file_) return std::nullopt;
    const QVariant value = QSettings(fileName(), format()).value(QString::fromStdString(key));
    if (!value.isValid()) return std::nullopt;
    return value.toByteArray().toStdString();
  }

  void set(const std::string& bytes, const std::string& key) override {
    if (write(bytes, key)) {
      unwritten_.erase(key);
      return;
    }
    unwritten_[key] = bytes;
    logger.error("Failed to write the settings store %s", file_ ? file_->string() : "(no configuration folder)");
  }

 private:
  static QSettings::Format format() {
    static const auto registered = QSettings::registerFormat(QStringLiteral("conf"), readLines, writeLines);
    return registered;
  }
  QString fileName() const { return QString::fromStdString(file_->string()); }

  bool write(const std::string& bytes, const std::string& key) {
    if (!file_ || LinuxFileManager().createDirectory(file_->parent_path())) return false;
    // QSettings gives the new file the rights of the old one.
    const FileDescriptor existing(::open(file_->c_str(), O_RDONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, privateFile));
    if (!existing.isOpen() || ::fchmod(existing.get(), privateFile) != 0) return false;
    QSettings settings(fileName(), format());
    settings.setValue(QString::fromStdString(key), QByteArray::fromStdString(bytes));
    settings.sync();
    return settings.status() == QSettings::NoError;
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
