#include "Fuzz.h"
#include "platform/linux/stores/LinuxUserDefaults.h"
#include "varnoletKit/UserSettingsCoding.h"

using namespace varnoletKit;

// As the stored record, and as the file that holds it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = fuzz::text(data, size);
  const auto decoded = decodeUserSettings(input);
  if (const auto* settings = std::get_if<UserSettings>(&decoded)) {
    const auto encoded = encodeUserSettings(*settings);
    fuzz::require(std::holds_alternative<std::string>(encoded), "what was read can be written");
    const auto again = decodeUserSettings(std::get<std::string>(encoded));
    fuzz::require(std::holds_alternative<UserSettings>(again) && std::get<UserSettings>(again) == *settings,
                  "what is written reads the same");
  } else {
    fuzz::require(std::get<CodingError>(decoded).description.size() < 200, "a fault is told in few words");
  }

  static const fuzz::InputFile file("app.test.conf");
  file.fill(input);
  static platform::linux_desktop::LinuxUserDefaults defaults("app.test");
  if (const auto stored = defaults.standard()->data("userSettings")) {
    fuzz::require(stored->size() <= size, "a value is no longer than its file");
  }
  return 0;
}
