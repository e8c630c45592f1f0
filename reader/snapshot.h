// Everything that a view shows, read from the tables at one moment. Views are functions of this
// alone, so that they can be tried without a table or an agent.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/bridging/vlan_counter.h"
#include "platform/bridging/vlan_description.h"
#include "platform/interface/drop_counter.h"
#include "platform/interface/eth_intf_counter.h"
#include "platform/interface/intf_description.h"
#include "platform/interface/queue_counter.h"
#include "platform/interface/vlan_intf_counter.h"
#include "platform/qos/copp_class_counter.h"
#include "reader/table.h"

namespace Show {

enum class IntfKind : std::uint8_t { ethernet, vlan, cpuPort };
// By its name; what is neither of the others counts as Ethernet.
IntfKind kindOf(Pekt::IntfId const& intfId);

// One interface: known to at least one of the tables that were read, other than those of clears.
struct Intf {
  using Queues = Interface::QueueCounter::IntfQueueCounter;

  Pekt::IntfId intfId;
  std::optional<Interface::EthIntfCounterGlim> counters;     // totals
  std::optional<Interface::EthIntfCounterGlim> atLastClear;  // the totals at the last clear
  std::optional<Interface::IntfDescription> description;
  std::optional<Queues> queues;             // totals
  std::optional<Queues> queuesAtLastClear;  // the totals at the last clear
  std::optional<Glim::Interface::DropCounter> drops;
  std::optional<Interface::VlanIntfCounterGlim> vlanCounters;  // totals of a VLAN interface
  std::optional<Interface::IntfRates> measuredRates;           // between two samples: live_rates.h

  // What the row of counters of either kind of interface begins with; null without a row.
  Interface::IntfStatistics const* statistics() const {
    if (counters) return &counters->statistics;
    return vlanCounters ? &vlanCounters->statistics : nullptr;
  }
  Interface::IntfRates const* rates() const {
    if (counters) return &counters->rates;
    return vlanCounters ? &vlanCounters->rates : nullptr;
  }

  std::string_view kernelName() const {
    return description ? description->kernelName.view() : std::string_view();
  }
};

// One VLAN: known to the table of counters or that of descriptions.
struct Vlan {
  Bridging::VlanId vlanId;
  std::optional<Glim::Bridging::VlanCounter> counters;     // totals
  std::optional<Glim::Bridging::VlanCounter> atLastClear;  // the totals at the last clear
  std::optional<Bridging::VlanDescription> description;
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
  std::map<Table, TableRead> tables;           // those that the command takes
  std::vector<Intf> interfaces;                // in the order of their names
  std::vector<Qos::CoppClassCounter> classes;  // of the control plane's policing; likewise
  std::vector<Vlan> vlans;                     // in the order of their ids
};

// Whether the table was asked for, and could be read.
bool wasRead(Snapshot const& snapshot, Table table);

// Seconds since that time; nothing of a time that never was, 0. Never negative.
std::optional<double> ageOf(Snapshot const& snapshot, double time);
// Seconds since the row's sample; nothing when there was none yet. Never negative.
std::optional<double> age(Snapshot const& snapshot, Intf const& intf);

// When the counters of the interface were last cleared, in seconds since the epoch: the time of the
// sample to which the counts since then relate. Nothing when they never were.
std::optional<double> cleared(Intf const& intf);
std::optional<double> cleared(Vlan const& vlan);
// Of the interfaces or VLANs that the snapshot has.
bool anyCleared(Snapshot const& snapshot);

// Whether the link went, and its rows were kept.
inline bool gone(Intf const& intf) {
  return intf.description && intf.description->operState == Interface::OperState::notPresent;
}

// Whether what the row says may have been overtaken: nobody keeps it current.
inline bool stale(Snapshot const& snapshot, Intf const& intf) {
  return !snapshot.agent.alive() || gone(intf);
}

}  // namespace Show
