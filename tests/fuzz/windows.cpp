#include <QString>

#include "Fuzz.h"
#include "platform/linux/applications/AgentRoles.h"
#include "platform/linux/applications/ApplicationNames.h"
#include "platform/linux/base/LogText.h"
#include "platform/linux/base/NotificationText.h"
#include "platform/linux/base/ReadableText.h"
#include "platform/linux/intent/StartupId.h"

using namespace platform::linux_desktop;

namespace {

void requireReadable(const std::string& shown, std::size_t longest) {
  const QString text = QString::fromStdString(shown);
  fuzz::require(text.toStdString() == shown, "it is text");
  fuzz::require(shown.size() <= longest, "it is short");
  for (const QChar character : text) {
    fuzz::require(!isControl(character) && !changesDirection(character), "it stays within its line");
  }
}

}  // namespace

// As a text property of a window, in all the places where one goes.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = fuzz::text(data, size);
  const auto time = timeInStartupId(input);
  fuzz::require(!time || (*time != 0 && input.find(std::to_string(*time)) != std::string::npos),
                "a time stands in its identifier");

  const std::string name = readableName(input);
  requireReadable(name, 600);
  fuzz::require(readableName(name) == name, "a readable name is its own");
  const std::string identifier = readableIdentifier(input);
  requireReadable(identifier, 600);
  fuzz::require(readableIdentifier(identifier) == identifier, "a readable identifier is its own");
  static_cast<void>(isKeptForAgents(identifier));
  static_cast<void>(agentRoleOfFile(input));

  requireReadable(titleText(input).toStdString(), 240);
  requireReadable(bodyText(input).toStdString(), 720);
  static_cast<void>(escapedForMarkup(bodyText(input)));
  requireReadable(singleLine(input), 20'000);

  static const fuzz::InputFile home("applications/any.desktop");
  static DesktopEntries entries;
  if (const auto id = desktopIdIn(input)) {
    fuzz::require(!id->empty() && id->find('/') == std::string::npos, "the identifier of an entry is no path");
    if (const auto entry = entries.entryWithId(*id)) bundleIdentifierOf(*entry);
  }
  return 0;
}
