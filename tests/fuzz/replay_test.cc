// What the fuzzers begin with, and what they once found, keeps the promises in the ordinary build.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "tests/fuzz/targets.h"
#include "tests/platform/glim/hostile/table_image.h"

namespace Fuzz {
namespace {

// Returns how many inputs there were.
unsigned replay(std::string const& directory, std::function<std::string(std::string_view)> what) {
  unsigned files = 0;
  if (!std::filesystem::exists(directory)) return 0;
  for (auto const& input : std::filesystem::directory_iterator(directory)) {
    auto const bytes = GlimTest::readFile(input.path().string());
    EXPECT_TRUE(bytes.has_value()) << input.path();
    EXPECT_EQ(what(bytes.value_or("")), "") << input.path();
    ++files;
  }
  return files;
}

std::string const here = ORU_FUZZ_INPUTS;

TEST(FuzzCorpus, TablesKeepThePromises) {
  EXPECT_GE(replay(here + "/corpus/table", tryTable), 24u);
}

TEST(FuzzCorpus, SchemasKeepThePromises) {
  EXPECT_GE(replay(here + "/corpus/schema", trySchema), 4u);
}

TEST(FuzzCorpus, WhatWasFoundKeepsThePromises) {
  replay(here + "/found/table", tryTable);
  replay(here + "/found/schema", trySchema);
}

}  // namespace
}  // namespace Fuzz
