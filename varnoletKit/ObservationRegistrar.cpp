#include "varnoletKit/ObservationRegistrar.h"

#include <algorithm>

#include "varnoletKit/ObservationTracking.h"

namespace varnoletKit {

void ObservationRegistrar::noteRead(const void* property) const {
  const auto& reader = ObservationTracking::current();
  if (!reader || !reader->isPending()) return;

  bool alreadyNoted = false;
  std::erase_if(interests_, [&](const Interest& interest) {
    const auto noted = interest.reader.lock();
    alreadyNoted = alreadyNoted || (noted == reader && interest.property == property);
    return !noted || !noted->isPending();
  });
  if (!alreadyNoted) interests_.push_back({property, reader});
}

void ObservationRegistrar::signalChange(const void* property) {
  // Taken out first: readers come back, and other changes are made, while these are told.
  std::vector<std::weak_ptr<ObservationTracking>> readers;
  std::erase_if(interests_, [&](Interest& interest) {
    if (interest.property != property) return false;
    readers.push_back(std::move(interest.reader));
    return true;
  });
  for (const auto& held : readers) {
    if (const auto reader = held.lock()) reader->signal();
  }
}

}  // namespace varnoletKit
