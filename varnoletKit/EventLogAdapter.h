// The engine's event log over the log file.
#pragma once

#include <memory>
#include <utility>

#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/EventLogging.h"

namespace varnoletKit {

class EventLogAdapter : public EventLogging {
 public:
  explicit EventLogAdapter(std::shared_ptr<EventLogManager> eventLogManager)
      : eventLogManager_(std::move(eventLogManager)) {}

  void log(const BlockedEvent& event) override;

 private:
  std::shared_ptr<EventLogManager> eventLogManager_;
};

}  // namespace varnoletKit
