#include "varnoletKit/EventLogManager.h"

#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "platform/Log.h"
#include "platform/NSCalendar.h"
#include "varnoletKit/ApplicationIdentifier.h"
#include "varnoletKit/BlockedEventCoding.h"

namespace varnoletKit {
namespace {

constexpr platform::Logger focusLog(platform::LogCategory::focus);
constexpr platform::Logger lifecycleLog(platform::LogCategory::lifecycle);

std::filesystem::path defaultDirectory() {
  auto& fileManager = platform::NSFileManager::defaultManager();
  const auto directories = fileManager.applicationSupportDirectories();
  return (directories.empty() ? fileManager.homeDirectoryForCurrentUser() / ".local/share" : directories.front()) /
         "Varnolet";
}

// The distant past, where the calendar has no such day.
platform::Date cutoffBefore(platform::Date now, std::int64_t days) {
  if (days == std::numeric_limits<std::int64_t>::min()) return platform::Date::min();
  return platform::dateByAddingDays(-days, now).value_or(platform::Date::min());
}

}  // namespace

EventLogManager::EventLogManager(const std::optional<std::filesystem::path>& directoryURL)
    : queue_(platform::dispatchQueueCreate(std::string(applicationIdentifier) + ".eventlog",
                                           platform::QualityOfService::standard)) {
  const std::filesystem::path folder = directoryURL ? *directoryURL : defaultDirectory();
  exportURL_ = folder / "blocked-events.json";
  static_cast<void>(platform::NSFileManager::defaultManager().createDirectory(folder));
}

std::vector<BlockedEvent> EventLogManager::loadEvents() {
  const std::lock_guard lock(lock_);
  makeWaitingChanges();
  return readEvents().value_or(std::vector<BlockedEvent>());
}

void EventLogManager::append(const BlockedEvent& event) {
  const std::lock_guard lock(lock_);
  makeWaitingChanges();
  appendNow(event);
}

void EventLogManager::appendLater(const BlockedEvent& event) {
  changeLater(event);
}

void EventLogManager::clearEventsLater() {
  changeLater(std::nullopt);
}

void EventLogManager::changeLater(const Change& change) {
  {
    const std::lock_guard lock(waitingLock_);
    waiting_.push_back(change);
  }
  queue_->async([this] {
    const std::lock_guard lock(lock_);
    makeWaitingChanges();
  });
}

void EventLogManager::clearEvents() {
  const std::lock_guard lock(lock_);
  makeWaitingChanges();
  writeEvents({});
}

void EventLogManager::pruneEvents(std::int64_t olderThanDays) {
  const std::lock_guard lock(lock_);
  makeWaitingChanges();
  const platform::Date cutoff = cutoffBefore(platform::dateNow(), olderThanDays);
  auto events = readEvents();
  if (!events) return;
  const auto removed = std::erase_if(*events, [&](const BlockedEvent& event) { return event.timestamp < cutoff; });
  if (removed == 0) return;
  writeEvents(*events);
  lifecycleLog.info("Pruned %ld old blocked events", static_cast<std::int64_t>(removed));
}

// What waits is written by the queue or by whatever operation comes before it, so that none overtakes it.
void EventLogManager::makeWaitingChanges() {
  std::vector<Change> changes;
  {
    const std::lock_guard lock(waitingLock_);
    changes.swap(waiting_);
  }
  for (const auto& event : changes) {
    if (event) {
      appendNow(*event);
    } else {
      writeEvents({});
    }
  }
}

void EventLogManager::appendNow(const BlockedEvent& event) {
  auto events = readEvents();
  const auto obstacle = events ? std::nullopt : setUnreadableFileAside();
  if (obstacle) {
    lifecycleLog.error("Failed to write blocked events: %s", obstacle->localizedDescription);
  } else {
    if (!events) events.emplace();
    events->push_back(event);
    writeEvents(*events);
  }
  focusLog.info("Logged blocked event: %s → %s", event.thiefName, event.protectedName);
}

std::optional<std::vector<BlockedEvent>> EventLogManager::readEvents() {
  auto& fileManager = platform::NSFileManager::defaultManager();
  const auto document = fileManager.contents(exportURL_);
  if (!document) {
    if (fileManager.fileExists(exportURL_)) return std::nullopt;
    return std::vector<BlockedEvent>();
  }
  auto decoded = decodeBlockedEvents(*document);
  if (const auto* error = std::get_if<CodingError>(&decoded)) {
    lifecycleLog.error("Failed to decode blocked events: %s", error->description);
    return std::nullopt;
  }
  return std::move(std::get<std::vector<BlockedEvent>>(decoded));
}

void EventLogManager::writeEvents(const std::vector<BlockedEvent>& events) {
  const auto encoded = encodeBlockedEvents(events);
  if (const auto* error = std::get_if<CodingError>(&encoded)) {
    lifecycleLog.error("Failed to write blocked events: %s", error->description);
    return;
  }
  const auto failure =
      platform::NSFileManager::defaultManager().writeAtomically(exportURL_, std::get<std::string>(encoded));
  if (failure) lifecycleLog.error("Failed to write blocked events: %s", failure->localizedDescription);
}

std::optional<platform::NSError> EventLogManager::setUnreadableFileAside() {
  auto& fileManager = platform::NSFileManager::defaultManager();
  std::filesystem::path aside;
  int number = 0;
  do {
    ++number;
    aside = exportURL_;
    aside.replace_filename("blocked-events.unreadable-" + std::to_string(number) + ".json");
  } while (fileManager.fileExists(aside));
  return fileManager.moveItem(exportURL_, aside);
}

}  // namespace varnoletKit
