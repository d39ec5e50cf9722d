// The gate between the keyboards and the applications.
#pragma once

#include <deque>
#include <map>
#include <vector>

#include "platform/linux/keyboard/KeyStroke.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Open, the keyboards type into the applications by themselves and only watching is possible. Closed, they are grabbed:
// their events come to this connection alone. On the tap's connection and thread.
class KeyboardGate {
 public:
  explicit KeyboardGate(XcbConnection& connection) : connection_(connection) {}

  bool isClosed() const { return isClosed_; }
  // Grabs these keyboards. Those that are grabbed already stay so.
  void close(const std::vector<DeviceId>& keyboards);
  void open();
  // Ends the grab of one keyboard. The next close() takes it anew.
  void release(DeviceId keyboard);
  bool isGrabbed(DeviceId keyboard) const;
  // The keyboards that are grabbed now: they float until the gate opens.
  std::vector<DeviceId> grabbed() const;
  // A keyboard went away at the event reached last, and the grab then in force with it. One that was asked for later is
  // in force, if the keyboard was back by then.
  void forget(DeviceId keyboard);

  // To be told the sequence number of every event of the connection, in the order in which they came. Replies and
  // events come in one stream, so which side of the gate an event was on is known, not guessed: the server had handled
  // the grab before every event that carries the grab's number or a later one.
  void reached(std::uint32_t sequence);
  // True if the event that was reached last, if it is of `keyboard`, was held by the gate; false if the applications
  // have it.
  bool holds(DeviceId keyboard) const;

 private:
  // From the request with this sequence number on, events are held or not.
  struct Boundary {
    std::uint32_t sequence = 0;
    bool isHeld = false;
  };
  struct Side {
    bool isHeld = false;  // for the event reached last
    std::deque<Boundary> boundaries;
    bool isGrabbed() const { return boundaries.empty() ? isHeld : boundaries.back().isHeld; }
  };

  void ungrab(DeviceId keyboard, Side& side);
  bool isGranted(const Boundary& boundary);

  XcbConnection& connection_;
  bool isClosed_ = false;
  std::map<DeviceId, Side> sides_;
};

}  // namespace platform::linux_desktop
