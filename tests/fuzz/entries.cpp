#include <QString>

#include "Fuzz.h"
#include "platform/linux/applications/ApplicationNames.h"
#include "platform/linux/stores/AutostartEntry.h"
#include "platform/linux/stores/LinuxFileManager.h"

using namespace platform::linux_desktop;

// As an application's entry that the user chose, and as our own among those that start at login.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::InputFile file("autostart/app.test.desktop");
  file.fill(fuzz::text(data, size));
  const std::string name = LinuxFileManager().displayNameAtPath(file.path());
  fuzz::require(!name.empty() && name.size() <= 600, "an entry has a short name");
  fuzz::require(QString::fromStdString(name).toStdString() == name, "a name is text");
  if (const auto entry = desktopEntryAt(file.path())) {
    const auto identifier = bundleIdentifierOf(*entry);
    fuzz::require(!identifier || (!identifier->empty() && identifier->size() <= 600), "an identifier is short");
  }
  AutostartEntry("app.test", "/bin/true").status();
  return 0;
}
