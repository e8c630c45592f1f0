// Everything that a view shows, read from the tables at one moment. Views are functions of this
// alone, so that they can be tried without a table or an agent.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/glim/answer.h"
#include "platform/interface/counter_tables.h"
#include "platform/interface/intf_description.h"

namespace Show {

// One interface: known to at least one of the tables of counters and descriptions.
struct Intf {
  Pekt::IntfId intfId;
  std::optional<Interface::EthIntfCounterGlim> counters;     // totals
  std::optional<Interface::EthIntfCounterGlim> atLastClear;  // the totals at the last clear
  std::optional<Interface::IntfDescription> description;
  std::optional<Interface::IntfRates> measuredRates;  // between two samples: live_rates.h

  std::string_view kernelName() const {
    return description ? description->kernelName.view() : std::string_view();
  }
};

// How the reading of one table went.
struct TableRead {
  std::string_view name;
  Glim::Answer answer = Glim::Answer::missing;  // of the whole table
  std::uint64_t rows = 0;                       // read
  std::uint64_t corruptRows = 0;                // failed their checksum, and were left out
  std::uint64_t busyRows = 0;                   // kept changing while they were read, likewise
  // "alice (user 1000)", of a file that is unsafe since that is neither this user nor the
  // superuser.
  std::string stranger = {};
};

enum class AgentState {
  unknown,     // there is no table that would tell
  running,     // holds the tables, and its heartbeat is recent
  silent,      // its process is there, but its heartbeat is old
  notRunning,  // let go of the tables, or died holding them
};

struct AgentStatus {
  AgentState state = AgentState::unknown;
  std::uint64_t pid = 0;      // of the last agent
  double heartbeatAge = 0.0;  // seconds since it last said that it lives

  // Whether the rows are kept current.
  bool alive() const { return state == AgentState::running; }
};

struct Snapshot {
  double now = 0.0;  // seconds since the epoch
  std::string directory;
  bool directoryNamed = true;  // by the user, who thereby trusts it
  AgentStatus agent;
  enum Table : std::size_t { counterTable, clearTable, descriptionTable, tables };
  std::array<TableRead, tables> table{{{.name = Interface::kIntfCounters},
                                       {.name = Interface::kIntfClearCounters},
                                       {.name = Interface::kIntfDescriptions}}};
  std::vector<Intf> interfaces;  // in the order of their names
};

// Seconds since the row's sample; nothing when there was none yet. Never negative.
std::optional<double> age(Snapshot const& snapshot, Intf const& intf);

// Whether the link went, and its rows were kept.
inline bool gone(Intf const& intf) {
  return intf.description && intf.description->operState == Interface::OperState::notPresent;
}

// Whether what the row says may have been overtaken: nobody keeps it current.
inline bool stale(Snapshot const& snapshot, Intf const& intf) {
  return !snapshot.agent.alive() || gone(intf);
}

}  // namespace Show
