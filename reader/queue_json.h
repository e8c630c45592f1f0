// What `show queues --json` and `show drops --json` say of an interface; docs/oru-counters.md lists
// the keys, which are stable.
#pragma once

#include <nlohmann/json.hpp>

#include "reader/snapshot.h"

namespace Show {

nlohmann::ordered_json queuesJson(Snapshot const& snapshot, Intf const& intf);
nlohmann::ordered_json dropsJson(Snapshot const& snapshot, Intf const& intf);

}  // namespace Show
