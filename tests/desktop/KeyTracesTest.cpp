// What was held back may have been a password: nothing of it stays behind in the guard's memory.
#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <random>
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;
using Bytes = std::vector<std::uint8_t>;

// All that the process can write to, range by range.
std::vector<Bytes> memoryOf(pid_t process) {
  const std::string folder = "/proc/" + std::to_string(process);
  std::ifstream maps(folder + "/maps");
  std::ifstream memory(folder + "/mem", std::ios::binary);
  std::vector<Bytes> ranges;
  for (std::string line; std::getline(maps, line);) {
    if (line.find(" rw") == std::string::npos) continue;
    const auto dash = line.find('-');
    const auto begin = std::stoull(line, nullptr, 16);
    auto& bytes = ranges.emplace_back(std::stoull(line.substr(dash + 1), nullptr, 16) - begin);
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(begin));
    memory.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  return ranges;
}

// How many of the keys, each different, stand in their order and at one distance from each other, where most do.
std::size_t longestTrace(const Bytes& memory, const std::vector<KeyCode>& keys) {
  constexpr std::size_t widestStride = 256;
  std::array<std::size_t, 256> places;
  places.fill(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) places[keys[i]] = i;
  std::size_t longest = 0;
  for (std::size_t at = 0; at < memory.size(); ++at) {
    const std::size_t place = places[memory[at]];
    if (place + 1 >= keys.size()) continue;
    for (std::size_t stride = 1; stride <= widestStride && at + stride < memory.size(); ++stride) {
      if (memory[at + stride] != keys[place + 1]) continue;
      std::size_t found = 2;
      for (std::size_t i = place + 2; i < keys.size() && at + (i - place) * stride < memory.size(); ++i) {
        found += memory[at + (i - place) * stride] == keys[i] ? 1 : 0;
      }
      longest = std::max(longest, found);
    }
  }
  return longest;
}

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(KeyTraces, AreInNothingThatItWrites) {
  const std::string canary = "xylophage";
  Scene scene(WindowManager::openbox);
  scene.guard.emplace(scene.desktop, Guard::programUnderTest(),
                      Environment{{"QT_LOGGING_RULES", "app.varnolet.*=true"}});
  steal(scene.thief, Theft::byRequest);
  std::string codes;
  for (const char letter : canary) {
    scene.typist.write(letter);
    codes += std::to_string(scene.typist.pressed().back()) + ' ';
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ASSERT_TRUE(scene.editorGotAll()) << scene.account();
  blockedEvents(scene.desktop, 1);
  const auto limits = contentsOf("/proc/" + std::to_string(scene.guard->process().pid()) + "/limits");
  EXPECT_NE(limits.find("Max core file size        1 "), std::string::npos) << limits;
  scene.guard->process().signal(SIGABRT);
  ASSERT_TRUE(scene.guard->process().ending());
  std::vector<std::string> texts = scene.guard->log().all();
  EXPECT_GT(texts.size(), 20u) << "it was not asked for every step";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(scene.desktop.home())) {
    if (entry.is_regular_file()) texts.push_back(contentsOf(entry.path()));
  }
  for (const auto& text : texts) {
    for (const auto& trace : {canary, codes}) EXPECT_EQ(text.find(trace), std::string::npos) << text.substr(0, 200);
  }
}

TEST(KeyTraces, AreGoneOnceTheKeysAre) {
  constexpr std::size_t length = 24;
  constexpr std::size_t byChance = 6;
  Scene scene(WindowManager::openbox);
  scene.beginGuarding();
  std::vector<KeyCode> secret = characterKeys();
  std::shuffle(secret.begin(), secret.end(), std::minstd_rand());
  secret.resize(length);
  steal(scene.thief, Theft::byRequest);
  for (const KeyCode key : secret) {
    scene.typist.tap(key);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ASSERT_TRUE(scene.editorGotAll()) << scene.account();
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  const auto ranges = memoryOf(scene.guard->process().pid());
  ASSERT_FALSE(ranges.empty());
  for (const auto& range : ranges) EXPECT_LE(longestTrace(range, secret), byChance) << "of " << length << " keys";
}

}  // namespace
