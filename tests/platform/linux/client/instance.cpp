// instance_client: claims to be the one "app.test.Instance", started by a launcher at 4711, and says whether it is
// "primary" or "second", and "reopened" when it is started again: "at" what time of a launcher, and "by" a process or
// not. It takes "handle" on standard input as the time to set the handler. Ends as a second one, and with standard
// input.
#include <QCoreApplication>
#include <QSocketNotifier>
#include <iostream>
#include <string>

#include "platform/linux/bus/ApplicationInstance.h"

int main(int argc, char** argv) {
  using platform::linux_desktop::ApplicationInstance;
  const QCoreApplication application(argc, argv);
  ApplicationInstance instance("app.test.Instance", "launcher_TIME4711");
  const bool isPrimary = instance.claim() == ApplicationInstance::Claim::primary;
  std::cout << (isPrimary ? "primary" : "second") << std::endl;
  if (!isPrimary) return 0;
  QSocketNotifier input(0, QSocketNotifier::Read);
  QObject::connect(&input, &QSocketNotifier::activated, &input, [&instance] {
    std::string line;
    if (!std::getline(std::cin, line)) QCoreApplication::quit();
    if (line != "handle") return;
    instance.setReopenHandler([](const auto& start) {
      std::cout << "reopened";
      for (const auto stamp : start.stamps) std::cout << " at " << stamp;
      std::cout << (start.starts.empty() ? "" : " by a process") << std::endl;
    });
  });
  return QCoreApplication::exec();
}
