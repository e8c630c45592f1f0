// oru-counters: shows the counters that an agent publishes, and asks the agent.
#include <signal.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "platform/kel/system.h"
#include "reader/control_commands.h"
#include "reader/options.h"
#include "reader/plain_top.h"
#include "reader/screen.h"
#include "reader/show.h"
#include "reader/show_commands.h"
#include "reader/source.h"
#include "reader/tables_dump.h"
#include "reader/tables_list.h"
#include "reader/tables_verify.h"

namespace Show {
namespace {

volatile sig_atomic_t asked = 0;

// Without SA_RESTART, so that a wait ends.
void heedSignals() {
  struct sigaction action {};
  action.sa_handler = [](int) { asked = 1; };
  for (int const signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(signal, &action, nullptr);
}

class RealPace : public Pace {
 public:
  double wallClock() override { return Kel::System::currentTime(); }
  double steadyClock() override {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  }
  bool waitUntil(double steady) override {
    timespec until{};
    until.tv_sec = static_cast<time_t>(steady);
    until.tv_nsec = static_cast<long>((steady - static_cast<double>(until.tv_sec)) * 1e9);
    while (asked == 0 &&
           ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
    return asked == 0;
  }
};

bool coloursWanted() {
  char const* const refused = std::getenv("NO_COLOR");
  return refused == nullptr || *refused == '\0';
}

std::size_t terminalWidth() {
  winsize size{};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col
                                                                            : kUnlimited;
}

Place placeOfOutput() {
  bool const terminal = ::isatty(STDOUT_FILENO) == 1;
  return {.width = terminal ? terminalWidth() : kUnlimited, .colours = terminal && coloursWanted()};
}

ExitCode showOrTop(Options const& options) {
  heedSignals();
  bool const top = options.command == Options::Command::top;
  ShowCommand const& shown = top ? kShowInterfaces : *options.show;
  Source source(options.directory, options.trust(), {shown.tables.begin(), shown.tables.end()},
                shown.intfKind);
  RealPace pace;
  auto const take = [&source](double now) { return source.take(now); };
  if (!top) return show(options, take(pace.wallClock()), placeOfOutput(), std::cout, std::cerr);
  if (::isatty(STDOUT_FILENO) == 1 && ::isatty(STDIN_FILENO) == 1 && !options.duration &&
      !options.json) {
    auto const code = screenTop(options, take, pace, coloursWanted(), [] { return asked != 0; });
    if (code) return *code;
  }
  return plainTop(options, take, pace, std::cout, std::cerr);
}

ExitCode verify(Options const& options) {
  RealPace pace;
  VerifyWorld const world{.now = pace.wallClock(),
                          .progress = {.terminal = ::isatty(STDERR_FILENO) == 1,
                                       .wanted = options.progress,
                                       .clock = [&pace] { return pace.steadyClock(); }},
                          .wait = [&pace] { pace.waitUntil(pace.steadyClock() + 0.05); }};
  return tablesVerify(options, world, std::cout, std::cerr);
}

ExitCode run(int argc, char const* const* argv) {
  Options options;
  if (auto const end = parse(argc, argv, options, std::cout, std::cerr)) return *end;
  double const now = Kel::System::currentTime();
  switch (options.command) {
    case Options::Command::show:
    case Options::Command::top:
      break;
    case Options::Command::tablesList:
      return tablesList(options, now, placeOfOutput(), std::cout, std::cerr);
    case Options::Command::tablesVerify:
      return verify(options);
    case Options::Command::tablesDump:
      return tablesDump(options, now, std::cout, std::cerr);
    case Options::Command::clear:
    case Options::Command::clearCopp:
    case Options::Command::clearVlans:
    case Options::Command::poll:
    case Options::Command::get:
    case Options::Command::ls:
    case Options::Command::invoke:
    case Options::Command::set:
      return control(options, std::cout, std::cerr);
  }
  return showOrTop(options);
}

}  // namespace
}  // namespace Show

int main(int argc, char** argv) {
  using Show::ExitCode;
  try {
    ExitCode const code = Show::run(argc, argv);
    std::cout.flush();
    if (!std::cout) {
      std::cerr << "oru-counters: the output could not be written\n";
      return number(ExitCode::failed);
    }
    return number(code);
  } catch (std::exception const& error) {
    std::cerr << "oru-counters: " << error.what() << '\n';
    return number(ExitCode::failed);
  }
}
