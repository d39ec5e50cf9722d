#include "tests/platform/linux/bus/PrivateBus.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <stdexcept>

namespace platform::linux_desktop {
namespace {

constexpr char configuration[] = R"(<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateBus::PrivateBus() {
  fill(folder_ / "bus.conf", configuration);
  stage::ChildProcess::Options options;
  options.environment = stage::bareEnvironment();
  options.readOutput = true;
  daemon_ = std::make_unique<stage::ChildProcess>(
      std::vector<std::string>{"dbus-daemon", "--config-file=" + (folder_ / "bus.conf").string(), "--nofork",
                               "--print-address=1"},
      options);
  const auto address = daemon_->output().waitFor("unix:");
  if (!address) throw std::runtime_error("dbus-daemon does not start");
  address_ = *address;
  environment_ = std::make_unique<TestEnvironment>(
      std::vector<std::pair<const char*, const char*>>{{"DBUS_SESSION_BUS_ADDRESS", address_.c_str()}});
}

SilentBus::SilentBus() : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (folder_ / "bus").string().copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(socket_.get(), 5) != 0) {
    throw std::runtime_error("no silent bus");
  }
  std::filesystem::permissions(folder_.path(), std::filesystem::perms(0755));
  std::filesystem::permissions(folder_ / "bus", std::filesystem::perms(0666));
}

std::string SilentBus::address() const {
  return "unix:path=" + (folder_ / "bus").string();
}

}  // namespace platform::linux_desktop
