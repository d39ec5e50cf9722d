#include "varnoletKit/EventLogManager.h"

#include <algorithm>
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

void tellOfFailedWrite(const std::string& why) {
  lifecycleLog.error("Failed to write blocked events: %s", why);
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
  const auto lock = lockUpToDate();
  auto contents = readEvents();
  auto* events = std::get_if<std::vector<BlockedEvent>>(&contents);
  return events ? std::move(*events) : std::vector<BlockedEvent>();
}

std::optional<platform::NSError> EventLogManager::exportEvents(const std::filesystem::path& to) {
  const auto lock = lockUpToDate();
  return platform::NSFileManager::defaultManager().copyItem(exportURL_, to);
}

void EventLogManager::append(const BlockedEvent& event) {
  changeNow(event);
}

void EventLogManager::clearEvents() {
  changeNow(Clearing{});
}

void EventLogManager::pruneEvents(std::int64_t olderThanDays) {
  changeNow(Pruning{cutoffBefore(platform::dateNow(), olderThanDays)});
}

void EventLogManager::appendLater(const BlockedEvent& event) {
  changeLater(event);
}

void EventLogManager::clearEventsLater() {
  changeLater(Clearing{});
}

void EventLogManager::pruneEventsLater(std::int64_t olderThanDays) {
  changeLater(Pruning{cutoffBefore(platform::dateNow(), olderThanDays)});
}

void EventLogManager::changeLater(Change change) {
  addToWaiting(std::move(change));
  queue_->async([this] { lockUpToDate(); });
}

void EventLogManager::changeNow(Change change) {
  addToWaiting(std::move(change));
  lockUpToDate();
}

void EventLogManager::addToWaiting(Change change) {
  const std::lock_guard lock(waitingLock_);
  waiting_.push_back(std::move(change));
}

std::unique_lock<std::mutex> EventLogManager::lockUpToDate() {
  std::unique_lock lock(lock_);
  std::vector<Change> changes;
  {
    const std::lock_guard waitingLock(waitingLock_);
    changes.swap(waiting_);
  }
  if (!changes.empty()) make(changes);
  return lock;
}

// With one reading and one writing for all of them.
void EventLogManager::make(const std::vector<Change>& changes) {
  const auto isClearing = [](const Change& change) { return std::holds_alternative<Clearing>(change); };
  // Nothing of what the file held and of what came before is left after a clearing.
  const auto start = std::find_if(changes.rbegin(), changes.rend(), isClearing).base();
  bool isChanged = start != changes.begin();
  Contents contents = isChanged ? Contents() : readEvents();
  bool isEventLost = false;
  std::int64_t pruned = 0;
  for (auto change = start; change != changes.end(); ++change) {
    const auto* event = std::get_if<BlockedEvent>(&*change);
    if (event && std::holds_alternative<Undecodable>(contents)) contents = setUndecodableFileAside();
    auto* events = std::get_if<std::vector<BlockedEvent>>(&contents);
    if (event && events) {
      events->push_back(*event);
      isChanged = true;
    } else if (event) {
      isEventLost = true;
    } else if (events) {
      const auto cutoff = std::get<Pruning>(*change).cutoff;
      pruned += static_cast<std::int64_t>(
          std::erase_if(*events, [cutoff](const BlockedEvent& old) { return old.timestamp < cutoff; }));
    }
  }
  if (isEventLost) tellOfFailedWrite(std::get<platform::NSError>(contents).localizedDescription);
  if (isChanged || pruned > 0) writeEvents(std::get<std::vector<BlockedEvent>>(contents));
  for (const Change& change : changes) {
    if (const auto* event = std::get_if<BlockedEvent>(&change)) {
      focusLog.info("Logged blocked event: %s → %s", event->thiefName, event->protectedName);
    }
  }
  if (pruned > 0) lifecycleLog.info("Pruned %ld old blocked events", pruned);
}

EventLogManager::Contents EventLogManager::readEvents() {
  auto document = platform::NSFileManager::defaultManager().contents(exportURL_);
  if (auto* error = std::get_if<platform::NSError>(&document)) {
    return error->isNoSuchFile ? Contents() : Contents(std::move(*error));
  }
  auto decoded = decodeBlockedEvents(std::get<std::string>(document));
  if (const auto* error = std::get_if<CodingError>(&decoded)) {
    lifecycleLog.error("Failed to decode blocked events: %s", error->description);
    return Undecodable{};
  }
  return std::move(std::get<std::vector<BlockedEvent>>(decoded));
}

void EventLogManager::writeEvents(const std::vector<BlockedEvent>& events) {
  const auto encoded = encodeBlockedEvents(events);
  if (const auto* error = std::get_if<CodingError>(&encoded)) {
    tellOfFailedWrite(error->description);
    return;
  }
  const auto failure =
      platform::NSFileManager::defaultManager().writeAtomically(exportURL_, std::get<std::string>(encoded));
  if (failure) tellOfFailedWrite(failure->localizedDescription);
}

EventLogManager::Contents EventLogManager::setUndecodableFileAside() {
  auto moved = platform::NSFileManager::defaultManager().setItemAside(exportURL_);
  if (auto* error = std::get_if<platform::NSError>(&moved)) return std::move(*error);
  lifecycleLog.error("Set the blocked events that cannot be decoded aside as %s",
                     std::get<std::filesystem::path>(moved).string());
  return Contents();
}

}  // namespace varnoletKit
