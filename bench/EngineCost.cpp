#include "EngineCost.h"

#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "Allocations.h"
#include "MinimalDesktop.h"
#include "Samples.h"
#include "tools/stage/VirtualDesktop.h"
#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/EventRouter.h"
#include "varnoletKit/EventTapManager.h"
#include "varnoletKit/WhitelistAdapter.h"

namespace bench {
namespace {

using namespace varnoletKit;
using Clock = std::chrono::steady_clock;

class Key : public platform::CGEvent {
 public:
  platform::CGEventFlags flags() const override { return 0; }
  platform::CGPoint location() const override { return {}; }
  std::unique_ptr<platform::CGEvent> copy() const override { return nullptr; }
};

template <class Work>
double microsecondsOf(const Work& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

BlockedEvent event(std::size_t number) {
  const std::string digits = std::to_string(100000000000 + number);
  return {"00000000-0000-4000-8000-" + digits,
          platform::dateNow(),
          "org.example.Thief",
          "Thief",
          "org.example.Editor",
          "Editor",
          5,
          104};
}

// Ten thousand appends would each rewrite the file: one event's text is repeated instead.
void fillLog(EventLogManager& log, std::size_t events) {
  log.clearEvents();
  log.append(event(0));
  std::ifstream written(log.exportURL());
  const std::string one((std::istreambuf_iterator<char>(written)), {});
  const auto object = one.substr(one.find('{'), one.rfind('}') - one.find('{') + 1);
  std::ofstream all(log.exportURL());
  all << "[\n  ";
  for (std::size_t i = 0; i < events; ++i) all << object << (i + 1 < events ? ",\n  " : "\n]\n");
  all.close();
  if (log.loadEvents().size() != events) throw std::runtime_error("the long log cannot be read");
}

// A figure of this process, such as "VmRSS".
long residentKilobytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ':')) return std::stol(line.substr(name.size() + 1));
  }
  throw std::runtime_error("no " + name);
}

}  // namespace

std::vector<Row> measureTappedEvents() {
  constexpr std::size_t rounds = 200;
  constexpr std::size_t eventsARound = 10000;
  constexpr double atMostNs = 300;
  MinimalDesktop desktop;
  const platform::InstalledDesktop installed(desktop);
  const auto detector = std::make_shared<GestureDetector>(64);
  const auto buffer = std::make_shared<KeystrokeBuffer>(500, std::weak_ptr<KeystrokeBufferDelegate>());
  const auto router = std::make_shared<EventRouter>(detector, buffer, std::make_shared<ExpectedReturn>());
  EventTapContext context{router};
  Key key;
  const auto tap = [&](platform::CGEventType type) {
    return EventTapManager::eventTapCallback(nullptr, type, key, &context);
  };
  // The first key is always held back until somebody has judged where it goes.
  tap(platform::kCGEventKeyDown);
  buffer->cancelCapture();

  Samples nanoseconds;
  const auto allocationsBefore = allocationsSoFar();
  std::uint64_t allocations = 0;
  for (std::size_t round = 0; round < rounds; ++round) {
    const auto before = allocationsSoFar();
    bool allPassed = true;
    const double taken = microsecondsOf([&] {
      for (std::size_t i = 0; i < eventsARound; ++i) {
        allPassed &= tap(i % 2 == 0 ? platform::kCGEventKeyDown : platform::kCGEventKeyUp) == &key;
      }
    });
    allocations += allocationsSoFar() - before;
    if (!allPassed) throw std::runtime_error("a key was held back");
    nanoseconds.add(taken * 1000 / eventsARound);
  }
  if (allocationsSoFar() == allocationsBefore) throw std::runtime_error("allocations are not counted");
  const double each = static_cast<double>(allocations) / (rounds * eventsARound);
  const double median = nanoseconds.median();
  return {{"Engine, for a key that passes (ns)", formatted(median, "ns"), "", {}, atMostNs, median <= atMostNs},
          {"Allocations, for a key that passes", formatted(each, ""), "", {}, 0.0, allocations == 0}};
}

std::vector<Row> measureLogAppend() {
  constexpr std::size_t storedEvents = 10000;
  constexpr std::size_t appends = 15;
  constexpr std::size_t manyEvents = 100'000;
  constexpr double mostMemory = 3;
  const stage::TemporaryFolder folder;
  MinimalDesktop desktop;
  const platform::InstalledDesktop installed(desktop);
  EventLogManager log(folder.path());
  fillLog(log, storedEvents);
  Samples microseconds;
  for (std::size_t i = 0; i < appends; ++i) microseconds.add(microsecondsOf([&] { log.append(event(i)); }));

  fillLog(log, manyEvents);
  const auto before = residentKilobytes("VmRSS");
  std::ofstream("/proc/self/clear_refs") << "5";  // forgets the highest so far
  log.append(event(0));
  const double grown = static_cast<double>(residentKilobytes("VmHWM") - before) * 1024;
  const double times = grown / static_cast<double>(std::filesystem::file_size(log.exportURL()));
  return {{"Append to a log of 10,000 events", formatted(microseconds.median() / 1000, "ms"), "", {}, {}},
          {"Memory to append to one of 100,000 (times its size)",
           formatted(times, ""),
           "",
           {},
           mostMemory,
           times <= mostMemory}};
}

Row measureWhitelistCheck() {
  constexpr std::size_t entries = 100;
  constexpr std::size_t checks = 2000;
  const stage::TemporaryFolder folder;
  // No other thread is there that could read the environment meanwhile. NOLINTNEXTLINE(concurrency-mt-unsafe)
  if (::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1) != 0) throw std::runtime_error("no environment");
  MinimalDesktop desktop;
  const platform::InstalledDesktop installed(desktop);
  const auto settings = std::make_shared<SettingsManager>(std::string("app.varnolet.bench"));
  for (std::size_t i = 0; i < entries; ++i) settings->addToWhitelist("org.example.Application" + std::to_string(i));
  WhitelistAdapter whitelist(settings);
  if (!whitelist.isWhitelisted("org.example.Application7")) throw std::runtime_error("the whitelist is not kept");
  Samples microseconds;
  for (std::size_t i = 0; i < checks; ++i) {
    microseconds.add(microsecondsOf([&] { whitelist.isWhitelisted("org.example.Thief"); }));
  }
  return {"Whitelist check, 100 entries", formatted(microseconds.median(), "us"), "", {}, {}};
}

}  // namespace bench
