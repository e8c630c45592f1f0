// What the fuzzers begin with, and what they once found, keeps the promises in the ordinary build.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "tests/fuzz/targets.h"
#include "tests/platform/glim/hostile/table_image.h"

namespace Fuzz {
namespace {

// What is in corpus/ and found/ under the name. Returns how many inputs there were.
unsigned replay(char const* name, std::function<std::string(std::string_view)> what) {
  unsigned files = 0;
  for (char const* const folder : {"corpus", "found"}) {
    auto const directory = std::filesystem::path(ORU_FUZZ_INPUTS) / folder / name;
    if (!std::filesystem::exists(directory)) continue;  // nothing was found yet
    for (auto const& input : std::filesystem::directory_iterator(directory)) {
      auto const bytes = GlimTest::readFile(input.path().string());
      EXPECT_TRUE(bytes.has_value()) << input.path();
      EXPECT_EQ(what(bytes.value_or("")), "") << input.path();
      ++files;
    }
  }
  return files;
}

TEST(FuzzCorpus, TablesKeepThePromises) { EXPECT_GE(replay("table", tryTable), 24u); }

TEST(FuzzCorpus, SchemasKeepThePromises) { EXPECT_GE(replay("schema", trySchema), 4u); }

TEST(FuzzCorpus, RequestsKeepThePromises) { EXPECT_GE(replay("control", tryControl), 6u); }

}  // namespace
}  // namespace Fuzz
