#include "TerminationSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

namespace {

constexpr std::array terminationSignals{SIGINT, SIGTERM, SIGHUP};
// By then the event loop or what follows it stands still. Leaves time for the end itself.
constexpr itimerspec longestFarewell{{}, {0, 900'000'000}};
constexpr int exitCodeOfTheLate = 1;
volatile std::sig_atomic_t wakeUp = -1;
volatile std::sig_atomic_t isEnding = 0;
timer_t lastResort;

void handle(int) {
  const int errorBefore = errno;
  if (!isEnding) timer_settime(lastResort, 0, &longestFarewell, nullptr);
  isEnding = 1;
  eventfd_write(wakeUp, 1);
  errno = errorBefore;
}

void endAtOnce(int) {
  _exit(exitCodeOfTheLate);
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
  sigevent alarm{};
  alarm.sigev_notify = SIGEV_SIGNAL;
  alarm.sigev_signo = SIGALRM;
  timer_create(CLOCK_MONOTONIC, &alarm, &lastResort);
  std::signal(SIGALRM, endAtOnce);
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
