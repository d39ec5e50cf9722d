// One running application of the desktop.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace platform {

enum class NSApplicationActivationOptions : std::uint32_t { none = 0 };

// What a desktop knows of one application; implemented by each desktop, read through NSRunningApplication. Every
// operation may be called from any thread, except activate().
class RunningApplicationRecord {
 public:
  RunningApplicationRecord() = default;
  RunningApplicationRecord(const RunningApplicationRecord&) = delete;
  RunningApplicationRecord& operator=(const RunningApplicationRecord&) = delete;
  virtual ~RunningApplicationRecord() = default;

  // Both are absent where the application has none.
  virtual std::optional<std::string> bundleIdentifier() const = 0;
  virtual std::optional<std::string> localizedName() const = 0;
  virtual std::int32_t processIdentifier() const = 0;
  // True once nothing of the application is left that could be brought to the front.
  virtual bool isTerminated() const = 0;
  // Main thread. Asks for the application to become frontmost; false if the desktop refuses at once. It may become
  // frontmost later, or never.
  virtual bool activate(NSApplicationActivationOptions options) const = 0;
};

// A handle to a record: cheap to copy, never empty. Where there may be none, std::optional says so. Two handles are
// equal when they are of the same process.
class NSRunningApplication {
 public:
  explicit NSRunningApplication(std::shared_ptr<const RunningApplicationRecord> record) : record_(std::move(record)) {}

  std::optional<std::string> bundleIdentifier() const { return record_->bundleIdentifier(); }
  std::optional<std::string> localizedName() const { return record_->localizedName(); }
  std::int32_t processIdentifier() const { return record_->processIdentifier(); }
  bool isTerminated() const { return record_->isTerminated(); }
  bool activateWithOptions(NSApplicationActivationOptions options) const { return record_->activate(options); }

  friend bool operator==(const NSRunningApplication& a, const NSRunningApplication& b) {
    return a.processIdentifier() == b.processIdentifier();
  }

 private:
  std::shared_ptr<const RunningApplicationRecord> record_;
};

}  // namespace platform
