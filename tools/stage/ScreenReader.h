// What an assistive program finds of a desktop's applications, and what it can do there.
#pragma once

#include <sys/types.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/stage/Mouse.h"
#include "tools/stage/VirtualDesktop.h"

namespace stage {

// By their numbers in AT-SPI.
enum class AccessibleState { checked = 4, enabled = 8, focusable = 11, focused = 12, showing = 25 };

struct Accessible {
  std::string role;
  std::string name;
  std::string description;
  std::uint64_t states = 0;
  // Where it is to be found.
  QString service;
  QString path;

  bool is(AccessibleState state) const { return (states >> static_cast<unsigned>(state) & 1) != 0; }
};

// Asks over the desktop's accessibility bus, which begins with the first one that asks. Needs a QCoreApplication.
class ScreenReader {
 public:
  // Throws std::runtime_error if there is no such bus.
  explicit ScreenReader(const VirtualDesktop& desktop);
  ScreenReader(const ScreenReader&) = delete;
  ScreenReader& operator=(const ScreenReader&) = delete;
  ~ScreenReader();

  // The processes of the accessibility bus: who tells where it is, and the bus itself.
  pid_t launcher() const { return launcher_; }
  pid_t bus() const;

  // All that the application shows now, from the outside to the inside; empty if there is no such application.
  std::vector<Accessible> read(const std::string& application) const;
  // The first of that name; one that can have the keyboard comes before its label.
  std::optional<Accessible> find(const std::string& application, const std::string& name) const;
  // The same, waited for. Throws std::runtime_error if it does not come.
  Accessible await(const std::string& application, const std::string& name) const;
  // Does the first thing that can be done with it, which for a button is to press it.
  void press(const Accessible& accessible) const;
  int rowsOf(const Accessible& table) const;
  // Where in its text the next character goes; -1 where there is no text.
  int caretOf(const Accessible& text) const;
  // Of its middle, on the screen.
  Point placeOf(const Accessible& accessible) const;

 private:
  QDBusMessage ask(const Accessible& accessible, const char* interface, const char* question,
                   const QVariantList& arguments = {}) const;
  int numberOf(const Accessible& accessible, const char* interface, const char* property) const;
  std::string propertyOf(const Accessible& accessible, const char* name) const;
  std::vector<Accessible> childrenOf(const Accessible& accessible) const;
  void readInto(std::vector<Accessible>& all, Accessible accessible) const;

  QString connectionName_;
  pid_t launcher_ = 0;
  QDBusConnection bus_;
};

}  // namespace stage
