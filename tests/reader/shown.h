// What a command `show` prints of a snapshot that was made up.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "reader/show.h"
#include "tests/reader/made_up.h"

namespace Show {

class Shown : public testing::Test {
 protected:
  using Command = Options::Command;
  using Json = nlohmann::ordered_json;  // of which the order counts

  Shown() { ::setenv("TZ", "UTC", 1); }  // times are local

  ExitCode show(Command command) {
    options.command = command;
    out.str("");
    err.str("");
    for (Table const table : tablesOf(command))
      snapshot.tables.try_emplace(table, TableRead{.answer = Glim::Answer::ok});
    return Show::show(options, snapshot, {.width = width}, out, err);
  }
  Json json(Command command) {
    options.json = true;
    show(command);
    return Json::parse(out.str());
  }

  Options options;
  std::size_t width = kUnlimited;
  std::ostringstream out, err;
  Snapshot snapshot = Show::snapshot({intf("Ethernet1", "eth0"), intf("Ethernet2", "eth1")});
};

}  // namespace Show
