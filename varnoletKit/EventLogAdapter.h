// The engine's event log over the log file.
#pragma once

#include <memory>

#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/EventLogging.h"

namespace varnoletKit {

// Whoever judges activations does not wait for the disk: the events are appended in the background. Main thread.
class EventLogAdapter : public EventLogging {
 public:
  explicit EventLogAdapter(std::shared_ptr<EventLogManager> eventLogManager);

  void log(const BlockedEvent& event) override;

 private:
  std::shared_ptr<EventLogManager> eventLogManager_;
};

}  // namespace varnoletKit
