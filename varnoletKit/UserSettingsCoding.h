// The stored form of the settings: one compact JSON object whose members are named as the fields. Any thread.
#pragma once

#include <string>
#include <variant>

#include "varnoletKit/CodingError.h"
#include "varnoletKit/UserSettings.h"

namespace varnoletKit {

// Fails for a whitelist entry that is not UTF-8: mended, it would be the identifier of something else.
std::variant<std::string, CodingError> encodeUserSettings(const UserSettings& settings);

// All members must be there, each of its type; unknown ones are ignored.
std::variant<UserSettings, CodingError> decodeUserSettings(const std::string& document);

}  // namespace varnoletKit
