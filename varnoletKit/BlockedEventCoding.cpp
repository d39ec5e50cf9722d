#include "varnoletKit/BlockedEventCoding.h"

#include <array>
#include <optional>
#include <string_view>

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

}  // namespace

std::variant<std::string, CodingError> encodeBlockedEvents(const std::vector<BlockedEvent>& events) {
  using nlohmann::json;
  json document = json::array();
  for (const BlockedEvent& event : events) {
    auto id = canonicalUUID(event.id);
    if (!id) return CodingError{"the id of an event is not a UUID"};
    document.push_back({{"id", std::move(*id)},
                        {"keystrokesBuffered", event.keystrokesBuffered},
                        {"protectedBundleID", event.protectedBundleID},
                        {"protectedName", event.protectedName},
                        {"reactivationLatencyMs", event.reactivationLatencyMs},
                        {"thiefBundleID", event.thiefBundleID},
                        {"thiefName", event.thiefName},
                        {"timestamp", iso8601String(event.timestamp)}});
  }
  return document.dump(2, ' ', false, json::error_handler_t::replace);
}

std::variant<std::vector<BlockedEvent>, CodingError> decodeBlockedEvents(const std::string& document) {
  return RecordReader<BlockedEvent>::read(document, DocumentForm::listOfRecords, members);
}

}  // namespace varnoletKit
