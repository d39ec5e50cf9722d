// The observable properties of one object: who read them, and telling the readers of changes.
#pragma once

#include <cassert>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/Tasks.h"

namespace varnoletKit {

class ObservationTracking;

// Held by the object that it serves; the properties are plain fields of that object, and their accessors go through
// here. A reader that is being tracked (Observation.h) is noted with each property that it reads, and is told of the
// first change of any of them. It is told after the value was stored, inside the write. Whoever is told may read,
// write, start and end observations, and even release the object. Main thread only.
class ObservationRegistrar {
 public:
  ObservationRegistrar() = default;
  ObservationRegistrar(const ObservationRegistrar&) = delete;
  ObservationRegistrar& operator=(const ObservationRegistrar&) = delete;

  template <class T>
  T read(const T& property) const {
    assert(platform::isMainThread());
    noteRead(&property);
    return property;
  }

  // Stores the value, and tells of it if it differs from the old one.
  template <class T>
  void write(T& property, std::type_identity_t<T> value) {
    assert(platform::isMainThread());
    const bool differs = !(property == value);
    property = std::move(value);
    if (differs) signalChange(&property);
  }

  // Changes the value in place, and tells of it whether it differs or not.
  template <class T, class Change>
  void modify(T& property, const Change& change) {
    assert(platform::isMainThread());
    change(property);
    signalChange(&property);
  }

 private:
  struct Interest {
    const void* property;
    std::weak_ptr<ObservationTracking> reader;
  };

  void noteRead(const void* property) const;
  // Touches nothing of this object once the first reader was told.
  void signalChange(const void* property);

  mutable std::vector<Interest> interests_;
};

}  // namespace varnoletKit
