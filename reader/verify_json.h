// What `tables verify --json` prints; docs/oru-counters.md lists the keys, which are stable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

namespace Show {

struct Checked;
struct Problem;
struct TableDirectory;

nlohmann::ordered_json verifyJson(TableDirectory const& directory, double now,
                                  std::vector<Checked> const& all,
                                  std::vector<Problem> const& wrong);

}  // namespace Show
