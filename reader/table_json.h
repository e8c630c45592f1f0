// What the JSON of the commands about tables has in common.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "reader/table_files.h"

namespace Show {

// The object with what stands before the tables.
nlohmann::ordered_json tablesJsonBegin(TableDirectory const& directory, double now,
                                       std::vector<Problem> const& problems);

// One table: its name and status, and what its header says where it can be read.
nlohmann::ordered_json tableJson(OpenTable const& table);

}  // namespace Show
