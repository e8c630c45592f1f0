#include "reader/queue_json.h"
#include "reader/queue_view.h"
#include "reader/show_commands.h"
#include "reader/show_flags.h"

namespace Show {

namespace {

constexpr Table kTables[]{Table::counters, Table::clearCounters, Table::descriptions,
                          Table::queueCounters, Table::clearQueueCounters};

ShowCommand::Views views(Snapshot const& snapshot, Options const& options, std::size_t width) {
  return {queuesView(snapshot, options.basis(), width)};
}

}  // namespace

constinit ShowCommand const kShowQueues{
    .name = "queues",
    .singular = "queue",
    .about = "What each transmit queue of the interfaces sent and dropped",
    .flags = {&kSinceClearFlag, 1},
    .tables = kTables,
    .essential = Table::queueCounters,
    .notes = clearNote,
    .views = views,
    .json = {"interfaces", queuesJson}};

}  // namespace Show
