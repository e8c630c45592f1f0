#include "reader/drop_view.h"
#include "reader/queue_json.h"
#include "reader/show_commands.h"

namespace Show {

namespace {

constexpr Table kTables[]{Table::counters, Table::descriptions, Table::aclDropCounters};

ShowCommand::Views views(Snapshot const& snapshot, Options const&, std::size_t width) {
  return {dropsView(snapshot, width)};
}

}  // namespace

constinit ShowCommand const kShowDrops{.name = "drops",
                                       .singular = "drop",
                                       .about = "Packets that access lists dropped",
                                       .tables = kTables,
                                       .essential = Table::aclDropCounters,
                                       .views = views,
                                       .json = {"interfaces", dropsJson}};

}  // namespace Show
