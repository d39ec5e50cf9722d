#include "platform/linux/applications/OtherPrograms.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <optional>

namespace platform::linux_desktop {
namespace {

// Written before there are threads. Absent, the environment is as it was.
std::optional<QProcessEnvironment>& kept() {
  static std::optional<QProcessEnvironment> environment;
  return environment;
}

}  // namespace

void keepEnvironmentForOthers() {
  auto& environment = kept().emplace(QProcessEnvironment::systemEnvironment());
  // The bus may have started this program, but it did not start those.
  for (const char* name : {"DBUS_STARTER_ADDRESS", "DBUS_STARTER_BUS_TYPE"}) environment.remove(QLatin1String(name));
}

bool startProgram(const QString& file, const QStringList& arguments) {
  QProcess program;
  program.setProgram(file);
  program.setArguments(arguments);
  if (kept()) program.setProcessEnvironment(*kept());
  return program.startDetached();
}

}  // namespace platform::linux_desktop
