#include "reader/counters_view.h"
#include "reader/rates_view.h"
#include "reader/show_commands.h"
#include "reader/show_flags.h"

namespace Show {

namespace {

constexpr Table kTables[]{Table::counters, Table::descriptions, Table::vlanIntfCounters};

std::vector<Line> notes(Snapshot const&, Options const& options) {
  if (!options.rates) return {};
  return {{{std::string(kRatesNote)}}};
}

ShowCommand::Views views(Snapshot const& snapshot, Options const& options, std::size_t width) {
  return {options.rates ? ratesView(snapshot, width)
                        : countersView(snapshot, options.basis(), width)};
}

}  // namespace

constinit ShowCommand const kShowVlanInterfaces{
    .name = "vlan-interfaces",
    .singular = "vlan-interface",
    .about =
        "Counts or rates of the VLAN interfaces. Octets are as the chip counts them: Linux "
        "leaves out\n"
        "the 14 bytes of the Ethernet header of the frames that come in",
    .names = {.about = "VLAN interfaces to show: names (Vlan7), the kernel's names (eth0.7), or "
                       "patterns ('Vlan1*')"},
    .flags = {&kRatesFlag, 1},
    .tables = kTables,
    .essential = Table::vlanIntfCounters,
    .intfKind = IntfKind::vlan,
    .named = {"VLAN interface", Table::vlanIntfCounters},
    .none = "No VLAN interfaces.",
    .notes = notes,
    .views = views,
    .json = {"interfaces", vlanIntfsJson}};

}  // namespace Show
