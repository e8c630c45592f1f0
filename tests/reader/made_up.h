// Made-up interfaces and snapshots.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "reader/snapshot.h"
#include "reader/styled_text.h"

namespace Show {

inline constexpr double kNow = 1000000.0;

inline Intf intf(std::string_view name, std::string_view kernelName,
                 Interface::OperState state = Interface::OperState::up) {
  Intf made;
  made.intfId = Pekt::IntfId(name);
  made.counters.emplace();
  made.counters->intfId = made.intfId;
  made.counters->statistics.lastUpdate = kNow - 0.4;
  made.description.emplace();
  made.description->intfId = made.intfId;
  made.description->kernelName = kernelName;
  made.description->adminState = Interface::AdminState::up;
  made.description->operState = state;
  return made;
}

inline void giveRates(Intf& intf, double in, double out, double packets) {
  intf.counters->rates = {.inBitsRate = in,
                          .inPktsRate = packets,
                          .outBitsRate = out,
                          .outPktsRate = packets,
                          .lastUpdate = kNow,
                          .seeded = kNow - 100.0};
}

// Queues 0 and on, unicast; queue n has sent 100 + n packets of 64 octets, and dropped n of them.
// All together are what the chip would count.
inline Intf::Queues queueRow(Intf const& intf, std::uint32_t queues) {
  using namespace Interface::QueueCounter;
  Intf::Queues row{.intfId = intf.intfId, .statistics = {}, .intfCounts = {}};
  row.statistics.sizeIs(queues);
  for (std::uint32_t i = 0; i < queues; ++i) {
    QueueCounts& counts = row.statistics[QueueIndex(i)].counts;
    counts = {.pkts = 100 + i, .octets = 64 * (100 + i), .dropPkts = i, .dropOctets = 64 * i};
    row.intfCounts += counts;
  }
  return row;
}

// With an agent that lives, and the tables that `show interfaces` reads.
inline Snapshot snapshot(std::vector<Intf> interfaces) {
  Snapshot made;
  made.now = kNow;
  made.directory = "/tables";
  made.agent = {.state = AgentState::running, .pid = 4711, .heartbeatAge = 0.4};
  for (Table const table : {Table::counters, Table::clearCounters, Table::descriptions})
    made.tables[table] = {.answer = Glim::Answer::ok, .rows = interfaces.size()};
  made.interfaces = std::move(interfaces);
  return made;
}

inline void killAgent(Snapshot& snapshot) {
  snapshot.agent = {.state = AgentState::notRunning, .pid = 4711, .heartbeatAge = 12.0};
}

inline std::string plain(std::vector<Line> const& lines) { return joined(lines, false); }

}  // namespace Show
