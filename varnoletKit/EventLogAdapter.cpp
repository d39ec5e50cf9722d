#include "varnoletKit/EventLogAdapter.h"

namespace varnoletKit {

void EventLogAdapter::log(const BlockedEvent& event) {
  eventLogManager_->append(event);
}

}  // namespace varnoletKit
