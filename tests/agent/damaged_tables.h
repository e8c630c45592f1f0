// An agent's tables that somebody else writes to, and what the agent says of them.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "agent/tables.h"
#include "tests/platform/glim/table_fixture.h"

namespace Agent {

// The table's first row is not what its writer stored, and the writer sees so when it stores there,
// removes it or looks it up.
inline void damageFirstRow(std::filesystem::path const& directory, std::string_view table) {
  GlimTest::Vandal((directory / table).string() + ".glim").slotWord(0, 0) += 2;
}

// The table was given up: the next heartbeat tells which it is.
inline void expectLost(Tables& tables, std::string_view table) {
  try {
    tables.heartbeat();
    ADD_FAILURE() << table << ": nothing was noticed";
  } catch (TableLost const& lost) {
    EXPECT_THAT(lost.what(), testing::HasSubstr("/" + std::string(table) + " was damaged"));
  }
}

}  // namespace Agent
