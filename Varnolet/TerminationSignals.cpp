#include "TerminationSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <utility>

namespace {

constexpr std::array terminationSignals{SIGINT, SIGTERM, SIGHUP};
volatile std::sig_atomic_t wakeUp = -1;

void handle(int) {
  const int errorBefore = errno;
  eventfd_write(wakeUp, 1);
  errno = errorBefore;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignal) : onSignal_(std::move(onSignal)) {
  assert(wakeUp == -1);
  wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  readable_ = std::make_unique<QSocketNotifier>(wakeUp, QSocketNotifier::Read);
  QObject::connect(readable_.get(), &QSocketNotifier::activated, readable_.get(), [this] {
    eventfd_t discarded = 0;
    eventfd_read(wakeUp, &discarded);
    onSignal_();
  });
  for (const int signal : terminationSignals) {
    if (std::signal(signal, handle) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

TerminationSignals::~TerminationSignals() {
  for (const int signal : terminationSignals) {
    if (std::signal(signal, SIG_DFL) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
  readable_.reset();
  close(wakeUp);
  wakeUp = -1;
}
