// oru-agentd: keeps this machine's traffic counters current in shared memory.
#include <csignal>
#include <cstdio>
#include <exception>

#include "agent/host.h"
#include "agent/log.h"
#include "agent/signals.h"
#include "counters/pollers/unit.h"
#include "platform/dov/exception.h"
#include "platform/kel/trace.h"

namespace {

// Exceptions that the framework caught are traced at level 1: an operator must see them.
void traceLevelsAre(unsigned levels) {
  unsigned const errors = 1u << 1;
  Kel::frameworkTraceHandle().levelsIs(levels | errors);
  Oru::Counters::_defaultTraceHandle().levelsIs(levels | errors);
}

std::string listed(std::vector<std::string> const& patterns) {
  std::string list;
  for (std::string const& each : patterns) list.append(list.empty() ? "" : " or ").append(each);
  return list;
}

void run(Agent::Options const& options) {
  // Before anything is made that a signal should not cut off. There is nothing to be read again at
  // a SIGHUP yet; it must not end the agent either.
  Agent::Signals signals({SIGTERM, SIGINT, SIGHUP});
  std::signal(SIGPIPE, SIG_IGN);  // a closed standard error is no reason to end
  Agent::EventLoop loop;
  Agent::Host host(options);
  loop.readableIs(signals.fd(), [&] {
    for (int signal = signals.take(); signal != 0; signal = signals.take())
      if (signal != SIGHUP) loop.stop();
  });
  host.start(loop);
  Agent::say("counting " + host.counting());
  if (host.countsNothing() && !options.interfaces.empty())
    Agent::say("no link that matches " + listed(options.interfaces) +
               " is there to be counted; those that come are");
  loop.run([&] { return host.turn(); });
}

}  // namespace

int main(int argc, char** argv) {
  try {
    auto const answer = Agent::readOptions(argc, argv);
    if (auto const* const finished = std::get_if<Agent::Finished>(&answer)) {
      std::fputs(finished->out.c_str(), stdout);
      std::fputs(finished->err.c_str(), stderr);
      return finished->status;
    }
    auto const& options = std::get<Agent::Options>(answer);
    traceLevelsAre(options.traceLevels);
    run(options);
    return 0;
  } catch (Dov::Exception const& exception) {
    Agent::say(exception.message());
  } catch (std::exception const& exception) {
    Agent::say(exception.what());
  }
  return 1;
}
