// Where an activation waits until the event tap has told all that came before it.
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/intent/Activation.h"
#include "platform/linux/keyboard/ReturnUnderWay.h"

namespace platform::linux_desktop {

// The main thread hands activations in. The tap's thread takes them out, and sends each back once it is through with
// every event that the server sent before. Nobody waits for anybody: where no tap runs, an activation goes back at
// once.
class ActivationDesk {
 public:
  struct Waiting {
    std::optional<Activation> activation;
    Work release;
  };

  explicit ActivationDesk(TaskServices& tasks);

  // Main thread. `release` is called there, in the order in which activations were submitted. Without an activation it
  // only waits its turn.
  void submit(std::optional<Activation> activation, Work release);
  // Main thread. The processes in which Enter starts something.
  void setLaunchers(std::set<pid_t> launchers);
  // Any thread.
  bool isLauncher(pid_t process) const;
  ReturnUnderWay& returnUnderWay() { return returnUnderWay_; }

  // The tap's thread. From now on activations wait to be taken.
  void open();
  // Any thread. What waits goes back, and what comes is not kept.
  void close();
  // Readable exactly while something waits to be taken.
  int fileDescriptor() const { return wake_.get(); }
  std::vector<Waiting> takeAll();
  // To be called for each that was taken, in their order, before the desk closes.
  void sendBack(Work release);

 private:
  std::vector<Waiting> takeAllLocked();

  TaskServices& tasks_;
  ReturnUnderWay returnUnderWay_;
  FileDescriptor wake_;
  int underWay_ = 0;  // submitted and not released yet; on the main thread
  std::atomic<bool> hasWaiting_ = false;
  mutable std::mutex mutex_;
  bool isOpen_ = false;
  std::vector<Waiting> waiting_;
  std::set<pid_t> launchers_;
};

}  // namespace platform::linux_desktop
