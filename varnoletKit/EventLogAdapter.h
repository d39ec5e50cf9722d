// The engine's event log over the log file.
#pragma once

#include <memory>

#include "platform/Tasks.h"
#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/EventLogging.h"

namespace varnoletKit {

// Appends in the background, in order: a disk may take seconds to take a file for sure, and whoever judges activations
// must not wait for it. Destroying it waits until everything is written. Main thread.
class EventLogAdapter : public EventLogging {
 public:
  explicit EventLogAdapter(std::shared_ptr<EventLogManager> eventLogManager);

  void log(const BlockedEvent& event) override;

 private:
  std::shared_ptr<EventLogManager> eventLogManager_;
  std::unique_ptr<platform::DispatchQueue> queue_;
};

}  // namespace varnoletKit
