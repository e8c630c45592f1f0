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

// With an agent that lives.
inline Snapshot snapshot(std::vector<Intf> interfaces) {
  Snapshot made;
  made.now = kNow;
  made.directory = "/tables";
  made.agent = {.state = AgentState::running, .pid = 4711, .heartbeatAge = 0.4};
  for (TableRead& table : made.table) {
    table.answer = Glim::Answer::ok;
    table.rows = interfaces.size();
  }
  made.interfaces = std::move(interfaces);
  return made;
}

inline void killAgent(Snapshot& snapshot) {
  snapshot.agent = {.state = AgentState::notRunning, .pid = 4711, .heartbeatAge = 12.0};
}

inline std::string plain(std::vector<Line> const& lines) { return joined(lines, false); }

}  // namespace Show
