#include "varnoletKit/EventLogAdapter.h"

#include <cassert>
#include <string>
#include <utility>

#include "varnoletKit/ApplicationIdentifier.h"

namespace varnoletKit {

EventLogAdapter::EventLogAdapter(std::shared_ptr<EventLogManager> eventLogManager)
    : eventLogManager_(std::move(eventLogManager)),
      queue_(platform::dispatchQueueCreate(std::string(applicationIdentifier) + ".eventlog",
                                           platform::QualityOfService::standard)) {}

void EventLogAdapter::log(const BlockedEvent& event) {
  assert(platform::isMainThread());
  queue_->async([manager = eventLogManager_, event] { manager->append(event); });
}

}  // namespace varnoletKit
