#include "varnoletKit/BlockedEventCoding.h"

#include <array>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "varnoletKit/ISO8601.h"
#include "varnoletKit/RecordReader.h"

namespace varnoletKit {
namespace {

// The same UUID in the form that is written, whichever case it came in.
std::optional<std::string> canonicalUUID(std::string_view text) {
  constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  if (text.size() != form.size()) return std::nullopt;
  std::string canonical(text);
  for (std::size_t i = 0; i < form.size(); ++i) {
    char& c = canonical[i];
    if (form[i] == '-') {
      if (c != '-') return std::nullopt;
      continue;
    }
    if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
    if (!(c >= '0' && c <= '9') && !(c >= 'A' && c <= 'F')) return std::nullopt;
  }
  return canonical;
}

bool takeID(BlockedEvent& event, const std::string& text) {
  const auto id = canonicalUUID(text);
  if (id) event.id = *id;
  return id.has_value();
}

bool takeTimestamp(BlockedEvent& event, const std::string& text) {
  const auto timestamp = dateFromISO8601(text);
  if (timestamp) event.timestamp = *timestamp;
  return timestamp.has_value();
}

constexpr std::array<RecordMember<BlockedEvent>, 8> members{{
    {"id", &takeID},
    {"keystrokesBuffered", &BlockedEvent::keystrokesBuffered},
    {"protectedBundleID", &BlockedEvent::protectedBundleID},
    {"protectedName", &BlockedEvent::protectedName},
    {"reactivationLatencyMs", &BlockedEvent::reactivationLatencyMs},
    {"thiefBundleID", &BlockedEvent::thiefBundleID},
    {"thiefName", &BlockedEvent::thiefName},
    {"timestamp", &takeTimestamp},
}};

// What an event takes beside its names, with numbers of some digits.
constexpr std::size_t usualFrameSize = 300;

}  // namespace

// Event by event: a tree of a long log would take several times its memory.
std::variant<std::string, CodingError> encodeBlockedEvents(const std::vector<BlockedEvent>& events) {
  using nlohmann::json;
  if (events.empty()) return "[]";
  std::string document;
  document.reserve(
      std::accumulate(events.begin(), events.end(), std::size_t{0}, [](std::size_t size, const auto& event) {
        return size + usualFrameSize + event.thiefBundleID.size() + event.thiefName.size() +
               event.protectedBundleID.size() + event.protectedName.size();
      }));
  const char* separator = "[\n  {";
  for (const BlockedEvent& event : events) {
    const auto id = canonicalUUID(event.id);
    if (!id) return CodingError{"the id of an event is not a UUID"};
    const auto add = [&document](const char* beginning, const json& value) {
      document += beginning;
      document += value.dump(-1, ' ', false, json::error_handler_t::replace);
    };
    document += std::exchange(separator, ",\n  {");
    add("\n    \"id\": ", *id);
    add(",\n    \"keystrokesBuffered\": ", event.keystrokesBuffered);
    add(",\n    \"protectedBundleID\": ", event.protectedBundleID);
    add(",\n    \"protectedName\": ", event.protectedName);
    add(",\n    \"reactivationLatencyMs\": ", event.reactivationLatencyMs);
    add(",\n    \"thiefBundleID\": ", event.thiefBundleID);
    add(",\n    \"thiefName\": ", event.thiefName);
    add(",\n    \"timestamp\": ", iso8601String(event.timestamp));
    document += "\n  }";
  }
  document += "\n]";
  return document;
}

std::variant<std::vector<BlockedEvent>, CodingError> decodeBlockedEvents(const std::string& document) {
  return RecordReader<BlockedEvent>::read(document, DocumentForm::listOfRecords, members);
}

}  // namespace varnoletKit
