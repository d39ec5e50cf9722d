// The log of blocked events, as the engine writes to it.
#pragma once

#include "varnoletKit/BlockedEvent.h"

namespace varnoletKit {

class EventLogging {
 public:
  EventLogging() = default;
  EventLogging(const EventLogging&) = delete;
  EventLogging& operator=(const EventLogging&) = delete;
  virtual ~EventLogging() = default;

  // Keeps the event, perhaps a little later. Reports no failure. Main thread.
  virtual void log(const BlockedEvent& event) = 0;
};

}  // namespace varnoletKit
