// varnolet_bench: measures the program and its engine and prints one table. bench/run builds and starts it.
#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>
#include <vector>

#include "DesktopCost.h"
#include "EngineCost.h"
#include "Forwarder.h"
#include "Listener.h"
#include "tools/stage/Guard.h"

namespace {

using namespace bench;

constexpr std::string_view usage = R"(usage: varnolet_bench [--quick] [--program FILE]
  --quick         fewer rounds: a first impression within half a minute
  --program FILE  the program to measure, instead of the one built beside this one

Prints one table. Each ratio compares what was measured in turns within this run, so that a busy or a slow machine
moves both sides alike. "At most" is the limit of the ratio, or of the value where there is none; the exit code is 0
if every limit was kept.

  Key to window, gate open    from a press at the server's hardware keyboard to its arrival in a window, with Varnolet
                              running and nothing going on; compared with no Varnolet, and with a program that asks
                              the server for every key and does nothing with it: nobody can see keys for less.
  Key to window, gate closed  the same while Varnolet holds the keyboard back and decides on every key; compared with
                              a loop that grabs the keyboard and re-emits every key, and does nothing else.
  Theft to focus back         from the moment that the focus is lost to it being back. Half of the thefts are requests
                              to the window manager, half are new windows.
  Theft to replay done        from the same moment until five keys that were typed then have arrived. The engine looks
                              every 100 ms whether the focus is back, and gives the keys back when it is.
  Engine, for a key ...       the engine's part of every key: gesture detector, router and keystroke buffer, with
                              debug messages off and nothing held back.
  Allocations ...             how often that asks for memory.
  Append to a log ...         one blocked event added to a log of 10,000: read, add, write, flush to disk, rename.
  Memory to append ...        how far that lets the resident memory grow at its highest, for ten times the events.
  Whitelist check ...         one question, which reads the stored settings each time.
  Idle: ...                   the running program and its watchdog when nobody types: how often their threads wake up,
                              their share of one processor, their resident memory.
)";

struct Wishes {
  std::filesystem::path program = stage::Guard::programUnderTest();
  bool isQuick = false;
};

std::optional<Wishes> wishesFrom(int count, char** arguments) {
  Wishes wishes;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--quick") {
      wishes.isQuick = true;
    } else if (argument == "--program" && i + 1 < count) {
      wishes.program = arguments[++i];
    } else {
      return std::nullopt;
    }
  }
  return wishes;
}

int measure(const Wishes& wishes) {
  std::vector<Row> rows;
  const auto add = [&](const std::vector<Row>& more) { rows.insert(rows.end(), more.begin(), more.end()); };
  add(measureKeyLatency(wishes.program, wishes.isQuick ? 3 : 12));
  add(measureThefts(wishes.program, wishes.isQuick ? 20 : 200));
  add(measureTappedEvents());
  add(measureLogAppend());
  rows.push_back(measureWhitelistCheck());
  add(measureIdle(wishes.program, wishes.isQuick ? 5 : 20));
  std::fputs(tableOf(rows).c_str(), stdout);
  for (const auto& row : rows) {
    if (!row.isMet) return 1;
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    const std::string_view first = count > 1 ? arguments[1] : "";
    if (first == "forward") return runForwarder();
    if (first == "listen") return runListener();
    if (const auto wishes = wishesFrom(count, arguments)) return measure(*wishes);
    std::fputs(usage.data(), first == "--help" ? stdout : stderr);
    return first == "--help" ? 0 : 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnolet_bench: %s\n", error.what());
    return 1;
  }
}
