// What `show queues --json` and `show drops --json` say of the interfaces; docs/oru-counters.md
// lists the keys, which are stable.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace Show {

struct Snapshot;

nlohmann::ordered_json queuesJson(Snapshot const& snapshot);
nlohmann::ordered_json dropsJson(Snapshot const& snapshot);

}  // namespace Show
