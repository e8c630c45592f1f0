// Removing many rows of a table. One that turns out to be damaged is given up (give_up.h).
#pragma once

#include "platform/glim/give_up.h"

namespace Agent {

// Those whose key `isUnwanted`.
template <class Record, class IsUnwanted>
void removeRowsIf(Glim::Collection<Record>& table, IsUnwanted const& isUnwanted) {
  table.forEach([&](Record const& row) {
    auto const key = Glim::RecordTraits<Record>::key(row);
    if (isUnwanted(key)) Glim::removeOrGiveUp(table, key);
  });
}

template <class Record>
void removeAllRows(Glim::Collection<Record>& table) {
  removeRowsIf(table, [](auto const&) { return true; });
}

}  // namespace Agent
