// What the tests of a writer's taking a table share.
#pragma once

#include "tests/platform/glim/table_fixture.h"

namespace GlimTest {

class ConquestTest : public TableTest {
 protected:
  // Ten rows, written by a table that is gone again.
  void writeTenRows() {
    auto const table = makeTable<Small>();
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  void expectRows(Table<Small> const& table, std::uint64_t from, std::uint64_t to) {
    EXPECT_EQ(table->members(), to - from + 1);
    for (std::uint64_t key = from; key <= to; ++key)
      EXPECT_EQ(table->lookup({key}).count, key * 10);
    EXPECT_TRUE(table->map().implementation().validate());
    EXPECT_TRUE(table->map().implementation().validateFiles());
  }
  bool exists(std::string const& name) const {
    return std::filesystem::exists(directory + "/" + name);
  }
  template <class Thrown, class Call>
  std::string messageOf(Call call) {
    try {
      call();
    } catch (Thrown const& exception) {
      return exception.message();
    }
    return "nothing thrown";
  }
};

}  // namespace GlimTest
