#include "reader/show_commands.h"
#include "reader/show_flags.h"
#include "reader/vlan_ids.h"
#include "reader/vlan_view.h"

namespace Show {

namespace {

constexpr Table kTables[]{Table::counters, Table::vlanCounters, Table::vlanCounterSnapshots,
                          Table::vlanDescriptions};

ShowCommand::Views views(Snapshot const& snapshot, Options const& options, std::size_t width) {
  return {vlansView(snapshot, options.basis(), width)};
}

}  // namespace

constinit ShowCommand const kShowVlans{
    .name = "vlans",
    .singular = "vlan",
    .about = "What each VLAN of the bridge counted: what came in from its ports and went out",
    .names = {"ID", "VLANs to show: ids, ranges, or lists of both: 10-20,30", wrongVlans},
    .flags = {&kSinceClearFlag, 1},
    .tables = kTables,
    .essential = Table::vlanCounters,
    .select = selectVlans,
    .named = {"VLAN", Table::vlanCounters},
    .isEmpty = [](Snapshot const& snapshot) { return snapshot.vlans.empty(); },
    .none = "No VLANs.",
    .notes = clearNote,
    .views = views,
    .json = {"vlans", vlansJson}};

}  // namespace Show
