#include "DesktopCost.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

#include "KeyLatency.h"
#include "Usage.h"
#include "tools/stage/Actors.h"
#include "tools/stage/Guard.h"
#include "tools/stage/Keyboard.h"
#include "tools/stage/VirtualDesktop.h"

namespace bench {
namespace {

using namespace stage;
using std::filesystem::path;
using Clock = std::chrono::steady_clock;

constexpr std::size_t keysARound = 300;

// A desktop on which this process has the active window.
struct Bench {
  Bench() {
    desktop.activate(window.id());
    if (!window.waitFor(ProbeWindow::Event::focusIn)) throw std::runtime_error("no focus is to be had");
  }

  VirtualDesktop desktop{WindowManager::openbox};
  Keyboard keyboard{desktop.connection()};
  Typist typist{desktop.display()};
  Actor thief{desktop, "thief"};
  ProbeWindow window{desktop.display()};

  // The program just started judges the first key that it sees; the measured ones are not to pay for that.
  void settle() {
    measureKeys(typist, window, 20);
    if (!eventually([this] { return !keyboard.isFloating(); })) throw std::runtime_error("the gate does not open");
  }
  void closeGate() {
    // Asking for what is so already is no theft, but it might become one.
    thief.tell("nudge " + std::to_string(window.id()));
    if (!eventually([this] { return keyboard.isFloating(); })) throw std::runtime_error("the gate does not close");
  }
};

Samples measureIdleRound(Bench& bench, const path& program) {
  const Guard guard(bench.desktop, program);
  bench.settle();
  return measureKeys(bench.typist, bench.window, keysARound);
}

Samples measureClosedRound(Bench& bench, const path& program) {
  constexpr std::size_t keysAClosing = 100;  // well within the time that the gate stays closed
  const Guard guard(bench.desktop, program);
  bench.settle();
  Samples samples;
  while (samples.count() < keysARound) {
    bench.closeGate();
    samples.add(measureKeys(bench.typist, bench.window, keysAClosing));
    if (!bench.keyboard.isFloating()) throw std::runtime_error("the gate opened during the measurement");
  }
  return samples;
}

// With this program running once more, as one of its yardsticks.
Samples measureYardstickRound(Bench& bench, const std::string& yardstick) {
  ChildProcess::Options options;
  options.environment = bench.desktop.environment();
  options.readErrors = true;
  const ChildProcess process({std::filesystem::read_symlink("/proc/self/exe").string(), yardstick}, options);
  if (!process.errors().waitFor("ready")) throw std::runtime_error("a yardstick does not start");
  measureKeys(bench.typist, bench.window, 20);
  return measureKeys(bench.typist, bench.window, keysARound);
}

Row latencyRow(const std::string& what, const Samples& measured, const std::string& reference, const Samples& base,
               double limit) {
  const double ratio = measured.median() / base.median();
  const auto text = [](const Samples& samples) {
    return "p50 " + formatted(samples.median(), "us") + ", p99 " + formatted(samples.quantile(0.99), "us");
  };
  return {what, text(measured), reference + ": " + text(base), ratio, limit, ratio <= limit};
}

}  // namespace

std::vector<Row> measureKeyLatency(const path& program, int rounds) {
  constexpr double idleLimit = 1.05;
  constexpr double closedLimit = 1.3;
  Bench bench;
  measureKeys(bench.typist, bench.window, keysARound);  // caches warm up
  Samples without;
  Samples idle;
  Samples closed;
  Samples forwarder;
  Samples listener;
  for (int round = 0; round < rounds; ++round) {
    without.add(measureKeys(bench.typist, bench.window, keysARound));
    idle.add(measureIdleRound(bench, program));
    listener.add(measureYardstickRound(bench, "listen"));
    forwarder.add(measureYardstickRound(bench, "forward"));
    closed.add(measureClosedRound(bench, program));
  }
  return {latencyRow("Key to window, gate open", idle, "no Varnolet", without, idleLimit),
          latencyRow("Key to window, gate open", idle, "bare listener", listener, idleLimit),
          latencyRow("Key to window, gate closed", closed, "bare grab and forward", forwarder, closedLimit)};
}

std::vector<Row> measureThefts(const path& program, int thefts) {
  constexpr std::size_t keysMeanwhile = 5;
  Bench bench;
  const Guard guard(bench.desktop, program);
  bench.settle();
  Samples untilFocus;
  Samples untilReplay;
  for (int i = 0; i < thefts; ++i) {
    bench.window.drain();
    steal(bench.thief, i % 2 == 0 ? Theft::byRequest : Theft::byNewWindow);
    if (!bench.window.waitFor(ProbeWindow::Event::focusOut)) throw std::runtime_error("a theft takes no focus");
    const auto lost = Clock::now();
    const auto sinceLost = [&] { return std::chrono::duration<double, std::milli>(Clock::now() - lost).count(); };
    for (std::size_t key = 0; key < keysMeanwhile; ++key) bench.typist.tap(characterKeys()[key]);
    if (!bench.window.waitFor(ProbeWindow::Event::focusIn)) throw std::runtime_error("the focus stays stolen");
    untilFocus.add(sinceLost());
    if (!bench.window.waitFor(ProbeWindow::Event::keyPress, keysMeanwhile)) throw std::runtime_error("a key is lost");
    untilReplay.add(sinceLost());
    constexpr auto apart = std::chrono::milliseconds(150);
    std::this_thread::sleep_for(apart);
  }
  if (bench.thief.pressCount() != 0) throw std::runtime_error("the thief got keys");
  const auto text = [](const Samples& samples) {
    return "p50 " + formatted(samples.median(), "ms") + ", p99 " + formatted(samples.quantile(0.99), "ms");
  };
  return {{"Theft to focus back", text(untilFocus), "", {}, {}},
          {"Theft to replay done", text(untilReplay), "", {}, {}}};
}

std::vector<Row> measureIdle(const path& program, int seconds) {
  Bench bench;
  Guard guard(bench.desktop, program);
  bench.settle();
  // What starting up and the last keys have set going has ended by then.
  std::this_thread::sleep_for(std::chrono::seconds(3));
  const auto processes = guard.process().processes();
  const auto before = usageOf(processes);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const auto after = usageOf(processes);
  const double wakeups = static_cast<double>(after.wakeups - before.wakeups) / seconds;
  const double cpuPercent = static_cast<double>(after.cpuNanoseconds - before.cpuNanoseconds) / 1e9 / seconds * 100;
  return {{"Idle: wake-ups a second", formatted(wakeups, ""), "", {}, {}},
          {"Idle: processor", formatted(cpuPercent, "%"), "", {}, {}},
          {"Idle: resident memory (" + std::to_string(processes.size()) + " processes)",
           formatted(static_cast<double>(after.residentKilobytes) / 1024, "MiB"),
           "",
           {},
           {}}};
}

}  // namespace bench
