// SIGINT, SIGTERM and SIGHUP as calls from the event loop.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

// One at a time, on the main thread, once the application object is there. Signals that whoever started the process had
// it ignore stay ignored. Afterwards the others end the process again as they do by default. A process that has not
// ended within a second after the first signal, whatever it waits for, is ended at once; the watchdog cleans up after
// it.
class TerminationSignals {
 public:
  explicit TerminationSignals(std::function<void()> onSignal);
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;
  ~TerminationSignals();

 private:
  std::function<void()> onSignal_;
  std::unique_ptr<QSocketNotifier> readable_;
};
