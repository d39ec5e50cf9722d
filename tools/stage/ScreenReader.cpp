#include "tools/stage/ScreenReader.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <algorithm>
#include <stdexcept>

#include "tools/stage/Waiting.h"

namespace stage {
namespace {

constexpr int patienceMs = 10000;
constexpr char accessibleInterface[] = "org.a11y.atspi.Accessible";
constexpr char propertiesInterface[] = "org.freedesktop.DBus.Properties";

QString addressOfAccessibilityBus(const VirtualDesktop& desktop, pid_t& launcher) {
  const auto sessionBus = QString::fromStdString(desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"));
  const auto name = QStringLiteral("stage-session");
  const auto question = QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress");
  const auto session = QDBusConnection::connectToBus(sessionBus, name);
  const QDBusReply<QString> address = session.call(question);
  if (session.isConnected()) launcher = static_cast<pid_t>(session.interface()->servicePid("org.a11y.Bus").value());
  QDBusConnection::disconnectFromBus(name);
  if (!address.isValid()) throw std::runtime_error("no accessibility bus");
  return address.value();
}

}  // namespace

ScreenReader::ScreenReader(const VirtualDesktop& desktop)
    : connectionName_(QString::fromStdString("stage-reader" + desktop.display())),
      bus_(QDBusConnection::connectToBus(addressOfAccessibilityBus(desktop, launcher_), connectionName_)) {
  if (!bus_.isConnected()) throw std::runtime_error("the accessibility bus cannot be reached");
}

ScreenReader::~ScreenReader() {
  QDBusConnection::disconnectFromBus(connectionName_);
}

pid_t ScreenReader::bus() const {
  return static_cast<pid_t>(bus_.interface()->servicePid("org.freedesktop.DBus").value());
}

std::vector<Accessible> ScreenReader::read(const std::string& application) const {
  Accessible registry;
  registry.service = "org.a11y.atspi.Registry";
  registry.path = "/org/a11y/atspi/accessible/root";
  std::vector<Accessible> all;
  for (const auto& root : childrenOf(registry)) {
    if (propertyOf(root, "Name") != application) continue;
    for (auto& window : childrenOf(root)) readInto(all, std::move(window));
  }
  return all;
}

std::optional<Accessible> ScreenReader::find(const std::string& application, const std::string& name) const {
  const auto all = read(application);
  auto found = std::ranges::find_if(all, [&](const Accessible& accessible) {
    return accessible.name == name && accessible.is(AccessibleState::focusable);
  });
  if (found == all.end()) found = std::ranges::find(all, name, &Accessible::name);
  return found == all.end() ? std::nullopt : std::optional(*found);
}

Accessible ScreenReader::await(const std::string& application, const std::string& name) const {
  std::optional<Accessible> found;
  const bool isThere = eventually([&] {
    found = find(application, name);
    return found.has_value();
  });
  if (isThere) return *found;
  std::string message = application + " shows no '" + name + "', but:";
  for (const auto& accessible : read(application)) message += "\n  " + accessible.role + " '" + accessible.name + "'";
  throw std::runtime_error(message);
}

void ScreenReader::press(const Accessible& accessible) const {
  const QDBusReply<bool> answer = ask(accessible, "org.a11y.atspi.Action", "DoAction", {0});
  if (!answer.isValid() || !answer.value()) throw std::runtime_error('\'' + accessible.name + "' cannot be pressed");
}

int ScreenReader::rowsOf(const Accessible& table) const {
  return numberOf(table, "org.a11y.atspi.Table", "NRows");
}

int ScreenReader::caretOf(const Accessible& text) const {
  return numberOf(text, "org.a11y.atspi.Text", "CaretOffset");
}

Point ScreenReader::placeOf(const Accessible& accessible) const {
  constexpr uint onScreen = 0;
  const auto answer = ask(accessible, "org.a11y.atspi.Component", "GetExtents", {onScreen});
  if (answer.signature() != "(iiii)") throw std::runtime_error('\'' + accessible.name + "' is nowhere");
  const auto extents = answer.arguments().at(0).value<QDBusArgument>();
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  extents.beginStructure();
  extents >> x >> y >> width >> height;
  extents.endStructure();
  return {static_cast<std::int16_t>(x + width / 2), static_cast<std::int16_t>(y + height / 2)};
}

QDBusMessage ScreenReader::ask(const Accessible& accessible, const char* interface, const char* question,
                               const QVariantList& arguments) const {
  auto message = QDBusMessage::createMethodCall(accessible.service, accessible.path, interface, question);
  message.setArguments(arguments);
  return bus_.call(message, QDBus::Block, patienceMs);
}

int ScreenReader::numberOf(const Accessible& accessible, const char* interface, const char* property) const {
  const QDBusReply<QDBusVariant> answer = ask(accessible, propertiesInterface, "Get", {interface, property});
  return answer.isValid() ? answer.value().variant().toInt() : -1;
}

std::string ScreenReader::propertyOf(const Accessible& accessible, const char* name) const {
  const QDBusReply<QDBusVariant> answer = ask(accessible, propertiesInterface, "Get", {accessibleInterface, name});
  return answer.isValid() ? answer.value().variant().toString().toStdString() : std::string();
}

std::vector<Accessible> ScreenReader::childrenOf(const Accessible& accessible) const {
  const auto answer = ask(accessible, accessibleInterface, "GetChildren");
  std::vector<Accessible> children;
  if (answer.signature() != "a(so)") return children;  // it went away meanwhile
  const auto list = answer.arguments().at(0).value<QDBusArgument>();
  list.beginArray();
  while (!list.atEnd()) {
    Accessible child;
    QDBusObjectPath path;
    list.beginStructure();
    list >> child.service >> path;
    list.endStructure();
    child.path = path.path();
    children.push_back(std::move(child));
  }
  list.endArray();
  return children;
}

void ScreenReader::readInto(std::vector<Accessible>& all, Accessible accessible) const {
  const QDBusReply<QList<uint>> states = ask(accessible, accessibleInterface, "GetState");
  if (!states.isValid() || states.value().size() != 2) return;
  accessible.states = std::uint64_t{states.value()[1]} << 32 | states.value()[0];
  if (!accessible.is(AccessibleState::showing)) return;
  const QDBusReply<QString> role = ask(accessible, accessibleInterface, "GetRoleName");
  accessible.role = role.value().toStdString();
  accessible.name = propertyOf(accessible, "Name");
  accessible.description = propertyOf(accessible, "Description");
  all.push_back(accessible);
  for (auto& child : childrenOf(accessible)) readInto(all, std::move(child));
}

}  // namespace stage
