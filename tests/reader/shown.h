// What a command `show` prints of a snapshot that was made up.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "reader/options.h"
#include "reader/show.h"
#include "reader/show_commands.h"
#include "tests/reader/made_up.h"

namespace Show {

class Shown : public testing::Test {
 protected:
  using Json = nlohmann::ordered_json;  // of which the order counts

  Shown() { ::setenv("TZ", "UTC", 1); }  // times are local

  ExitCode show(ShowCommand const& command) {
    options.show = &command;
    out.str("");
    err.str("");
    for (Table const table : command.tables)
      snapshot.tables.try_emplace(table, TableRead{.answer = Glim::Answer::ok});
    return Show::show(options, snapshot, {.width = width}, out, err);
  }
  Json json(ShowCommand const& command) {
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
