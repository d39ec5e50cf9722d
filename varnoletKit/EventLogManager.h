// The log of blocked events: one JSON file in the user's application-support folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>
#include <vector>

#include "platform/NSFileManager.h"
#include "platform/Tasks.h"
#include "varnoletKit/BlockedEvent.h"

namespace varnoletKit {

// Every operation goes to the file, under one lock; events stay in memory only between appendLater() and their turn,
// and those that wait are written together. No failure is reported to the caller, they are logged. Any thread; the file
// is not locked against other processes.
//
// Destroying it waits until everything is written.
class EventLogManager {
 public:
  // Uses the given folder, else "Varnolet" in the user's first application-support directory. Creates the folder; if
  // that fails, writing fails later.
  explicit EventLogManager(const std::optional<std::filesystem::path>& directoryURL = std::nullopt);

  // The log file. It exists from the first event, or the first clearEvents(), on.
  const std::filesystem::path& exportURL() const { return exportURL_; }

  // Oldest first; empty where there are none or the file cannot be read.
  std::vector<BlockedEvent> loadEvents();

  // Adds the event at the end. A file that cannot be decoded is first set aside in the same folder as
  // "blocked-events.unreadable-1.json" (2, 3, ...), and the log begins anew. Where reading, setting aside or writing
  // fails, the file stays as it is and the event is lost.
  void append(const BlockedEvent& event);

  // Makes the file an empty log, whatever it held.
  void clearEvents();

  // Removes the events from before this time of day so many calendar days ago. Writes only if there are any.
  void pruneEvents(std::int64_t olderThanDays);

  // The same, but on a thread of the log's own: a disk may take seconds to take a file for sure. To every other
  // operation it is as if they had been done inside this call.
  void appendLater(const BlockedEvent& event);
  void clearEventsLater();
  void pruneEventsLater(std::int64_t olderThanDays);

  // Copies the file as it is now. Fails if `to` exists, or if there is no file yet.
  std::optional<platform::NSError> exportEvents(const std::filesystem::path& to);

 private:
  struct Clearing {};
  struct Pruning {
    platform::Date cutoff;
  };
  using Change = std::variant<BlockedEvent, Clearing, Pruning>;
  struct Undecodable {};
  using Contents = std::variant<std::vector<BlockedEvent>, Undecodable, platform::NSError>;

  void changeLater(Change change);
  void changeNow(Change change);
  void addToWaiting(Change change);
  // The lock, once all changes that waited are in the file: by the queue or by whatever operation comes before it, so
  // that none overtakes them.
  std::unique_lock<std::mutex> lockUpToDate();

  // The caller of each holds the lock.
  void make(const std::vector<Change>& changes);
  Contents readEvents();
  void writeEvents(const std::vector<BlockedEvent>& events);
  // An empty log, or why it could not begin.
  Contents setUndecodableFileAside();

  std::filesystem::path exportURL_;
  std::mutex lock_;
  std::mutex waitingLock_;  // taken while the other is held, or alone
  std::vector<Change> waiting_;
  std::unique_ptr<platform::DispatchQueue> queue_;  // the last one: its work uses all the others
};

}  // namespace varnoletKit
