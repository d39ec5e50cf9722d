#include "varnoletKit/EventLogAdapter.h"

#include <cassert>
#include <utility>

#include "platform/Tasks.h"

namespace varnoletKit {

EventLogAdapter::EventLogAdapter(std::shared_ptr<EventLogManager> eventLogManager)
    : eventLogManager_(std::move(eventLogManager)) {}

void EventLogAdapter::log(const BlockedEvent& event) {
  assert(platform::isMainThread());
  eventLogManager_->appendLater(event);
}

}  // namespace varnoletKit
