// instance_client: claims to be the one "app.test.Instance" and says whether it is "primary" or "second", and
// "reopened" when it is started again. It takes "handle" on standard input as the time to set the handler. Ends as a
// second one, and with standard input.
#include <QCoreApplication>
#include <QSocketNotifier>
#include <iostream>
#include <string>

#include "platform/linux/ApplicationInstance.h"

int main(int argc, char** argv) {
  using platform::linux_desktop::ApplicationInstance;
  const QCoreApplication application(argc, argv);
  ApplicationInstance instance("app.test.Instance");
  const bool isPrimary = instance.claim() == ApplicationInstance::Claim::primary;
  std::cout << (isPrimary ? "primary" : "second") << std::endl;
  if (!isPrimary) return 0;
  QSocketNotifier input(0, QSocketNotifier::Read);
  QObject::connect(&input, &QSocketNotifier::activated, &input, [&instance] {
    std::string line;
    if (!std::getline(std::cin, line)) QCoreApplication::quit();
    if (line == "handle") instance.setReopenHandler([] { std::cout << "reopened" << std::endl; });
  });
  return QCoreApplication::exec();
}
