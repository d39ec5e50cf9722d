// A session bus of the test's own.
#pragma once

#include <memory>
#include <string>

#include "platform/linux/base/FileDescriptor.h"
#include "tests/platform/linux/TestFolder.h"
#include "tools/stage/ChildProcess.h"

namespace platform::linux_desktop {

// No program is there for the bus to start. It is that of this process's environment as long as it lives.
class PrivateBus {
 public:
  PrivateBus();

  const std::string& address() const { return address_; }
  void end() { daemon_.reset(); }

 private:
  TestFolder folder_;
  std::unique_ptr<stage::ChildProcess> daemon_;
  std::string address_;
  std::unique_ptr<TestEnvironment> environment_;
};

// Something that takes clients at a bus's address and never answers them.
class SilentBus {
 public:
  SilentBus();
  std::string address() const;

 private:
  TestFolder folder_;
  FileDescriptor socket_;
};

}  // namespace platform::linux_desktop
