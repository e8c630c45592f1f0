// The commands that ask the agent, with an agent and tables that are made up.
#pragma once

#include <gmock/gmock.h>

#include <deque>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "reader/asking.h"
#include "reader/control_client.h"
#include "reader/control_commands.h"
#include "reader/options.h"

namespace Show {

class AskedAgent : public testing::Test {
 protected:
  using Command = Options::Command;

  ExitCode run(Command command, std::vector<std::string> words) {
    options.command = command;
    options.words = std::move(words);
    return run();
  }
  ExitCode runOn(Command command, std::vector<std::string> names) {
    options.command = command;
    options.names = std::move(names);
    return run();
  }
  ExitCode run() {
    ControlWorld const world{.ask =
                                 [this](std::string const& line) {
                                   asked.push_back(line);
                                   return answer(line);
                                 },
                             .take = [this] { return snapshot; }};
    out.str("");
    err.str("");
    return control(options, world, out, err);
  }
  void addIntf(char const* id, char const* kernelName) {
    Intf intf;
    intf.intfId = id;
    intf.counters.emplace().intfId = id;
    intf.description.emplace().kernelName = std::string_view(kernelName);
    snapshot.interfaces.push_back(intf);
    snapshot.tables[Table::counters].answer = Glim::Answer::ok;
    snapshot.tables[Table::descriptions].answer = Glim::Answer::ok;
  }
  // What the agent says: the answers in their order, and then no more.
  virtual std::string answer(std::string const&) {
    if (answers.empty()) throw NoAnswer(ExitCode::agentFailed, "-");
    std::string const first = answers.front();
    answers.pop_front();
    return first;
  }

  Options options;
  Snapshot snapshot;
  std::deque<std::string> answers;
  std::vector<std::string> asked;
  std::ostringstream out, err;
};

}  // namespace Show
