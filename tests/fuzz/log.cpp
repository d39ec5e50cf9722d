#include "Fuzz.h"
#include "varnoletKit/BlockedEventCoding.h"

using namespace varnoletKit;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto decoded = decodeBlockedEvents(fuzz::text(data, size));
  if (const auto* events = std::get_if<std::vector<BlockedEvent>>(&decoded)) {
    const auto encoded = encodeBlockedEvents(*events);
    fuzz::require(std::holds_alternative<std::string>(encoded), "what was read can be written");
    const auto again = decodeBlockedEvents(std::get<std::string>(encoded));
    fuzz::require(std::holds_alternative<std::vector<BlockedEvent>>(again) &&
                      std::get<std::vector<BlockedEvent>>(again) == *events,
                  "what is written reads the same");
  } else {
    fuzz::require(std::get<CodingError>(decoded).description.size() < 200, "a fault is told in few words");
  }
  return 0;
}
