// The tables that an agent publishes, by interface. Their operations are those of
// Glim::Collection under the names that their writers use.
#pragma once

#include "platform/glim/collection.h"
#include "platform/interface/drop_counter.h"
#include "platform/interface/eth_intf_counter.h"
#include "platform/interface/intf_description.h"
#include "platform/interface/queue_counter.h"
#include "platform/interface/vlan_intf_counter.h"

namespace Interface {

// The names of the tables within the agent's directory.
inline constexpr std::string_view kIntfCounters = "intfCounters";
inline constexpr std::string_view kIntfClearCounters = "intfClearCounters";
inline constexpr std::string_view kIntfQueueCounters = "intfQueueCounters";
inline constexpr std::string_view kIntfClearQueueCounters = "intfClearQueueCounters";
inline constexpr std::string_view kAclDropCounters = "aclDropCounters";
inline constexpr std::string_view kIntfDescriptions = "intfDescriptions";
inline constexpr std::string_view kVlanIntfCounters = "vlanIntfCounters";

// Counters of the Ethernet interfaces; also the kind of the table that holds their values at the
// last clear.
class AllEthIntfCounterGlim : public Glim::Collection<EthIntfCounterGlim> {
 public:
  using Collection::Collection;

  void counterIs(EthIntfCounterGlim const& counter) { write(counter); }
  void counterDel(Pekt::IntfId const& intfId) { remove(intfId); }
  // The row; for an absent one, a row of the interface with zero counters.
  EthIntfCounterGlim counter(Pekt::IntfId const& intfId) { return rowOf(intfId); }
};

// What the agent says of each interface.
class AllIntfDescription : public Glim::Collection<IntfDescription> {
 public:
  using Collection::Collection;

  void descriptionIs(IntfDescription const& description) { write(description); }
  void descriptionDel(Pekt::IntfId const& intfId) { remove(intfId); }
};

// Counters of the VLAN interfaces.
class AllVlanIntfCounterGlim : public Glim::Collection<VlanIntfCounterGlim> {
 public:
  using Collection::Collection;

  void counterIs(VlanIntfCounterGlim const& counter) { write(counter); }
  void counterDel(Pekt::IntfId const& intfId) { remove(intfId); }
  // The row; for an absent one, a row of the interface with zero counters.
  VlanIntfCounterGlim counter(Pekt::IntfId const& intfId) { return rowOf(intfId); }
};

namespace QueueCounter {

// Counters of the interfaces' queues; also the kind of the table of their values at the last clear.
class AllIntfQueueCounters : public Glim::Collection<IntfQueueCounter> {
 public:
  using Collection::Collection;

  void intfQueueCounterIs(IntfQueueCounter const& counter) { write(counter); }
  void intfQueueCounterDel(Pekt::IntfId const& intfId) { remove(intfId); }
  // The row; for an absent one, a row of the interface without queues.
  IntfQueueCounter intfQueueCounter(Pekt::IntfId const& intfId) { return rowOf(intfId); }
};

}  // namespace QueueCounter
}  // namespace Interface

namespace Glim::Interface {

// Packets that access lists dropped, by interface.
class AllDropCounterDir : public Glim::Collection<DropCounter> {
 public:
  using Collection::Collection;

  void counterIs(DropCounter const& counter) { write(counter); }
  void counterDel(Pekt::IntfId const& intfId) { remove(intfId); }
  // The row, or the default one.
  DropCounter counter(Pekt::IntfId const& intfId) { return lookup(intfId); }
  void counterCommit(Slot const& slot) { commit(slot); }
};

}  // namespace Glim::Interface
