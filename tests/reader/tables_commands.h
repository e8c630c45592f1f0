// The commands about tables, on tables that a writer published.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "reader/options.h"
#include "reader/tables_dump.h"
#include "reader/tables_list.h"
#include "reader/tables_verify.h"
#include "tests/reader/published_tables.h"

namespace Show {

using Json = nlohmann::ordered_json;

class TablesCommands : public testing::Test {
 protected:
  TablesCommands() {
    options.directory = tables.directory();
    options.directoryNamed = true;
  }

  ExitCode list(std::size_t width = kUnlimited) {
    begin();
    return tablesList(options, 1000.0, {.width = width}, out, err);
  }
  ExitCode verify(std::vector<std::string> names = {}) {
    begin();
    options.names = std::move(names);
    return tablesVerify(options,
                        {.now = 1000.0, .progress = {.clock = [] { return 1.0; }}, .wait = wait},
                        out, err);
  }
  ExitCode dump(std::string const& name) {
    begin();
    options.names = {name};
    return tablesDump(options, 1000.0, out, err);
  }
  Json json() { return Json::parse(out.str()); }
  void begin() {
    out.str("");
    err.str("");
  }
  void copyTable(std::string const& from, std::string const& to) {
    std::filesystem::copy_file(tables.file(from), tables.directory() + "/" + to);
  }
  void startWithTwo() {
    tables.start();
    tables.writeTwo();
  }
  // Changes one word of a table's file, as damage does.
  void storeWord(std::string_view table, std::uint64_t offset, std::uint64_t value) {
    int const fd = ::open(tables.file(table).c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::pwrite(fd, &value, sizeof value, static_cast<off_t>(offset)), 8);
    ::close(fd);
  }

  PublishedTables tables;
  Options options;
  std::function<void()> wait = [] {};
  std::ostringstream out, err;
};

}  // namespace Show
