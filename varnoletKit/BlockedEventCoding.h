// The stored form of the blocked events: a JSON array of objects whose members are named as the fields, pretty-printed
// with sorted keys. Any thread.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "varnoletKit/BlockedEvent.h"
#include "varnoletKit/CodingError.h"

namespace varnoletKit {

// Names and identifiers come from other programs: bytes in them that are not UTF-8 are written as U+FFFD, so that no
// window title costs an event or the log. Fails for an event whose id is not a UUID: the document could not be read.
std::variant<std::string, CodingError> encodeBlockedEvents(const std::vector<BlockedEvent>& events);

// All members must be there, each of its type; unknown ones are ignored. One bad event makes the document unreadable.
std::variant<std::vector<BlockedEvent>, CodingError> decodeBlockedEvents(const std::string& document);

}  // namespace varnoletKit
