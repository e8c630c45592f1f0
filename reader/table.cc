#include "reader/table.h"

#include <array>

#include "platform/bridging/vlan_counter_tables.h"
#include "platform/interface/counter_tables.h"
#include "platform/qos/copp_class_tables.h"

namespace Show {

namespace {

struct About {
  std::string_view name;
  std::string_view whyMissing = kNotPublished;
};

// Not every chip counts everything, and an agent of an older version knows of fewer tables.
constexpr std::string_view kNoQueues = "the agent counts no queues; it may be of an older version";
constexpr std::string_view kNoVlans = "the agent counts no VLANs; it may be of an older version";

// In the order of the enumeration.
constexpr std::array kTables{
    About{Interface::kIntfCounters},
    About{Interface::kIntfClearCounters},
    About{Interface::kIntfDescriptions},
    About{Interface::kIntfQueueCounters, kNoQueues},
    About{Interface::kIntfClearQueueCounters, kNoQueues},
    About{Interface::kAclDropCounters,
          "the agent's chip counts no ACL drops, or the agent is of an older version"},
    About{Interface::kVlanIntfCounters,
          "the agent counts no VLAN interfaces; it may be of an older version"},
    About{Qos::kCoppCounters,
          "the agent's chip has no control-plane policing, or the agent is of an older version or "
          "has not started in full yet"},
    About{Bridging::kVlanCounters, kNoVlans},
    About{Bridging::kVlanCounterSnapshots, kNoVlans},
    About{Bridging::kVlanDescriptions, kNoVlans}};
static_assert(kTables.size() == static_cast<std::size_t>(Table::vlanDescriptions) + 1);

}  // namespace

std::string_view name(Table table) { return kTables[static_cast<std::size_t>(table)].name; }
std::string_view whyMissing(Table table) {
  return kTables[static_cast<std::size_t>(table)].whyMissing;
}

}  // namespace Show
