#include "varnoletKit/UserSettingsCoding.h"

#include <array>
#include <utility>

#include "varnoletKit/RecordReader.h"

namespace varnoletKit {
namespace {

constexpr std::array<RecordMember<UserSettings>, 7> members{{
    {"whitelist", &UserSettings::whitelist},
    {"gestureWindowMs", &UserSettings::gestureWindowMs},
    {"bufferTimeoutMs", &UserSettings::bufferTimeoutMs},
    {"notificationsEnabled", &UserSettings::notificationsEnabled},
    {"soundEnabled", &UserSettings::soundEnabled},
    {"logRetentionDays", &UserSettings::logRetentionDays},
    {"launchAtLogin", &UserSettings::launchAtLogin},
}};

}  // namespace

std::variant<std::string, CodingError> encodeUserSettings(const UserSettings& settings) {
  nlohmann::ordered_json document = nlohmann::ordered_json::object();
  for (const auto& [name, place] : members) {
    std::visit(
        [&document, &settings, key = std::string(name)](auto field) {
          if constexpr (std::is_member_object_pointer_v<decltype(field)>) document[key] = settings.*field;
        },
        place);
  }
  try {
    return document.dump();
  } catch (const nlohmann::json::type_error&) {
    return CodingError{"a whitelist entry is not UTF-8"};
  }
}

std::variant<UserSettings, CodingError> decodeUserSettings(const std::string& document) {
  auto read = RecordReader<UserSettings>::read(document, DocumentForm::record, members);
  if (auto* error = std::get_if<CodingError>(&read)) return std::move(*error);
  return std::move(std::get<0>(read).front());
}

}  // namespace varnoletKit
