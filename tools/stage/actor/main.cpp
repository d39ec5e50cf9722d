// stage_actor <name> [--title=TEXT] [--class=TEXT] [--app-id=TEXT] [--no-pid] [--dock] [--menu] [--hidden]
//             [--at=X,Y] [--late=MS] [--on=REACTION]... [--started]
// An application on the test's desktop. What it reports, obeys and reacts to is told in Program.h. --late: its window
// comes up so long after its start. --started: it takes no commands on standard input, one a line.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "Program.h"

namespace {

using namespace stage;

// True while there may be more to read.
bool obeyInput(Program& program, std::string& pending) {
  std::array<char, 512> bytes{};
  const auto size = ::read(STDIN_FILENO, bytes.data(), bytes.size());
  if (size <= 0) return false;
  pending.append(bytes.data(), static_cast<std::size_t>(size));
  for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
    const std::string line = pending.substr(0, end);
    pending.erase(0, end + 1);
    const auto space = line.find(' ');
    program.obey(line.substr(0, space), space == std::string::npos ? "" : line.substr(space + 1));
    program.report("done");
  }
  return true;
}

struct Wishes {
  Looks looks;
  Program::Manner manner;
  bool isStarted = false;
};

Wishes wishesFrom(int count, char** arguments) {
  Wishes wishes;
  auto& [looks, manner, isStarted] = wishes;
  manner.name = arguments[1];
  looks.title = manner.name;
  looks.windowClass = "stage-" + manner.name;
  for (int i = 2; i < count; ++i) {
    const std::string option = arguments[i];
    const auto value = option.substr(std::min(option.find('='), option.size() - 1) + 1);
    if (option.starts_with("--title=")) looks.title = value;
    if (option.starts_with("--class=")) looks.windowClass = value;
    if (option.starts_with("--app-id=")) looks.applicationId = value;
    if (option == "--no-pid") looks.hasProcessId = false;
    if (option == "--dock") looks.isDock = true;
    if (option == "--menu") looks.isMenu = true;
    if (option.starts_with("--at=")) looks.place = {std::stoi(value), std::stoi(value.substr(value.find(',') + 1))};
    if (option == "--hidden") manner.isHidden = true;
    if (option.starts_with("--late=")) manner.late = std::chrono::milliseconds(std::stoi(value));
    if (option.starts_with("--on=")) manner.reactions.push_back(Program::reactionFrom(value));
    if (option == "--started") isStarted = true;
  }
  return wishes;
}

int run(const Wishes& wishes) {
  const XConnection connection("");
  Program program(connection, wishes.looks, wishes.manner);
  std::string pending;
  for (;;) {
    auto next = program.doWhatIsDue();
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
      program.handle(*event);
      next = std::chrono::milliseconds(0);  // it may have made something due
    }
    if (xcb_connection_has_error(connection) != 0) return 0;
    xcb_flush(connection);
    std::array<pollfd, 2> ready{
        {{xcb_get_file_descriptor(connection), POLLIN, 0}, {wishes.isStarted ? -1 : STDIN_FILENO, POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), next ? static_cast<int>(next->count()) : -1);
    if (ready[1].revents != 0 && !obeyInput(program, pending)) return 0;
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 2;
  try {
    return run(wishesFrom(count, arguments));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "stage_actor: %s\n", error.what());
    return 1;
  }
}
