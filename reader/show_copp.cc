#include "reader/copp_view.h"
#include "reader/options.h"
#include "reader/show_commands.h"

namespace Show {

namespace {

constexpr Table kTables[]{Table::counters, Table::coppCounters};
constexpr ShowCommand::Flag kSinceResetFlag{
    "--since-reset", &Options::sinceReset,
    "Packets and octets since the class's last reset alone; else as published"};

ShowCommand::Views views(Snapshot const& snapshot, Options const& options, std::size_t width) {
  return {coppView(snapshot, options.sinceReset, width)};
}

}  // namespace

constinit ShowCommand const kShowCopp{
    .name = "copp",
    .about = "What each class of the control plane's policing counted, and since its last reset",
    .names = {"CLASS", "Classes to show: names, or patterns ('copp-*')"},
    .flags = {&kSinceResetFlag, 1},
    .tables = kTables,
    .essential = Table::coppCounters,
    .select = selectClasses,
    .named = {"class", Table::coppCounters},
    .isEmpty = [](Snapshot const& snapshot) { return snapshot.classes.empty(); },
    .none = "No classes.",
    .views = views,
    .json = {"classes", coppJson}};

}  // namespace Show
