// The log of blocked events: one JSON file in the user's application-support folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/NSFileManager.h"
#include "platform/Tasks.h"
#include "varnoletKit/BlockedEvent.h"

namespace varnoletKit {

// Every operation goes to the file, under one lock; events stay in memory only between appendLater() and their turn. No
// failure is reported to the caller, they are logged. Any thread; the file is not locked against other processes.
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

  // Adds the event at the end. A file that is there but cannot be read is first set aside in the same folder as
  // "blocked-events.unreadable-1.json" (2, 3, ...), and the log begins anew. Where setting aside or writing fails, the
  // file stays as it is and the event is lost.
  void append(const BlockedEvent& event);

  // Makes the file an empty log, whatever it held.
  void clearEvents();

  // append() and clearEvents(), but on a thread of the log's own: a disk may take seconds to take a file for sure. To
  // every other operation it is as if they had been done inside this call.
  void appendLater(const BlockedEvent& event);
  void clearEventsLater();

  // Removes the events from before this time of day so many calendar days ago. Writes only if there are any.
  void pruneEvents(std::int64_t olderThanDays);

 private:
  // Absent stands for clearing the log.
  using Change = std::optional<BlockedEvent>;
  void changeLater(const Change& change);

  // The caller of each holds the lock.
  void makeWaitingChanges();
  void appendNow(const BlockedEvent& event);
  // Absent if there is a file that cannot be read.
  std::optional<std::vector<BlockedEvent>> readEvents();
  void writeEvents(const std::vector<BlockedEvent>& events);
  std::optional<platform::NSError> setUnreadableFileAside();

  std::filesystem::path exportURL_;
  std::mutex lock_;
  std::mutex waitingLock_;  // taken while the other is held, or alone
  std::vector<Change> waiting_;
  std::unique_ptr<platform::DispatchQueue> queue_;  // the last one: its work uses all the others
};

}  // namespace varnoletKit
