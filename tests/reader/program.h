// The program as its users start it, on tables that a writer published.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/reader/published_tables.h"

namespace Show {

inline constexpr int kCannotRun = 127;  // others may not run the program from here

class Program : public testing::Test {
 protected:
  struct Result {
    int exitCode = -1;
    std::string out, err;
  };

  // With the option --tables before the arguments. `beforeItRuns` is called in its process.
  Result run(std::vector<std::string> arguments, bool unprivileged = false,
             std::string outPath = {}, std::function<void()> const& beforeItRuns = {});

  PublishedTables tables;
  PublishedTables scratch;
  std::string directory = tables.directory();
};

}  // namespace Show
