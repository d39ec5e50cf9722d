#include "Scene.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

namespace stage {
namespace {

using nlohmann::json;

json readLog(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return json::parse(stream, nullptr, false);
}

}  // namespace

Scene::Scene(WindowManager manager) : desktop(manager) {
  desktop.activate(editor.window());
  if (!eventually([this] { return editor.isFocused(); })) throw std::runtime_error("the editor gets no focus");
}

void Scene::expectWordSurvives(Theft theft, const std::string& when) {
  constexpr std::size_t length = 12;
  constexpr std::size_t stolenAfter = 3;
  constexpr std::chrono::milliseconds pace(20);
  startAfresh();
  const unsigned thefts = thief.timesFocused();
  for (std::size_t i = 0; i < length; ++i) {
    if (i == stolenAfter) steal(thief, theft);
    typist.tap(characterKeys()[i]);
    std::this_thread::sleep_for(pace);
  }
  ASSERT_TRUE(eventually([&] { return thief.timesFocused() > thefts; }))
      << when << ": " << nameOf(theft) << " took no focus";
  ASSERT_TRUE(editorGotAll()) << when << ", " << nameOf(theft) << ": " << account();
  ASSERT_TRUE(lostAndDoubled().isNone()) << when << ", " << nameOf(theft) << ": " << account();
  ASSERT_EQ(thief.pressCount(), 0u) << when << ": " << account();
  ASSERT_TRUE(eventually([&] { return editor.isFocused(); })) << when << ": the editor stays behind";
}

bool Scene::editorGotAll() {
  return eventually([this] { return editor.pressCount() >= typist.pressed().size(); });
}

Difference Scene::lostAndDoubled() const {
  return difference(typist.pressed(), editor.presses());
}

std::string Scene::account() const {
  constexpr std::size_t lastLines = 40;
  std::string text = describe(lostAndDoubled()) + "; the thief got " + std::to_string(thief.pressCount()) + " keys";
  if (!guard) return text;
  const auto lines = guard->log().all();
  text += "; the guard's last words:";
  for (std::size_t i = lines.size() - std::min(lines.size(), lastLines); i < lines.size(); ++i) text += '\n' + lines[i];
  return text;
}

void Scene::startAfresh() {
  editor.forgetKeys();
  thief.forgetKeys();
  typist.forgetPressed();
}

void Scene::closeGate() {
  thief.tell("modest");
  ASSERT_TRUE(eventually([this] { return keyboard.isFloating(); })) << "the gate stays open";
}

void Scene::waitUntilGateOpens() {
  ASSERT_TRUE(eventually([this] { return !keyboard.isFloating(); })) << "the gate stays closed";
}

void Scene::expectKeysMatchFingers(const std::string& when) {
  EXPECT_TRUE(eventually([this] { return keyboard.keysDown() == typist.fingers(); }))
      << when << ": the server has down " << listOf(keyboard.keysDown()) << ", the fingers "
      << listOf(typist.fingers());
}

void Scene::expectAllKeysUp(const std::string& when) {
  EXPECT_TRUE(eventually([this] { return keyboard.keysDown().none(); }))
      << when << ": still down " << listOf(keyboard.keysDown());
  for (const auto device : {keyboard.hardware(), keyboard.xtest()}) {
    EXPECT_TRUE(eventually([&] { return keyboard.keysDownOn(device).none(); }))
        << when << ": still down on device " << int{device} << ' ' << listOf(keyboard.keysDownOn(device));
  }
  EXPECT_EQ(keyboard.modifiers(), ModifierState{}) << when << ": a modifier is still set";
}

std::size_t fromEnvironment(const char* variable, std::size_t otherwise) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
  return value ? std::stoul(value) : otherwise;
}

std::vector<std::string> blockedEvents(const VirtualDesktop& desktop, std::size_t atLeast) {
  const auto file = blockedEventsFile(desktop);
  EXPECT_TRUE(eventually([&] {
    const auto log = readLog(file);
    return log.is_array() && log.size() >= atLeast;
  })) << "no log with "
      << atLeast << " events in " << file.filename();
  std::vector<std::string> names;
  const auto log = readLog(file);
  if (!log.is_array()) return names;
  for (const auto& event : log) {
    EXPECT_TRUE(event.at("keystrokesBuffered").is_number_integer());
    names.push_back(event.at("thiefName").get<std::string>() + " > " + event.at("protectedName").get<std::string>());
  }
  return names;
}

}  // namespace stage
