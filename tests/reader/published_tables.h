// Tables as an agent publishes them, in a directory of their own that goes with them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_description.h"
#include "platform/dov/debug_handler.h"
#include "platform/interface/counter_tables.h"
#include "platform/kel/ptr_interface.h"
#include "platform/qos/copp_class_tables.h"
#include "tests/support/temporary_folder.h"

namespace Show {

class PublishedTables {
 public:
  PublishedTables();
  ~PublishedTables();

  // On tmpfs, and nothing in it yet.
  std::string const& directory() const { return _directory; }
  std::string file(std::string_view table) const;

  // An agent starts: takes the tables and their rows over. Its tables have room for so many rows.
  void start(std::uint32_t maxRows = 64);
  // An agent that counts queues and ACL drops besides. REQUIRES: start()
  void startQueuesAndDrops(std::uint32_t maxRows = 64);
  // An agent that counts VLAN interfaces and policing classes besides. REQUIRES: start()
  void startVlansAndCopp(std::uint32_t maxRows = 64);
  // An agent that counts the VLANs of bridges besides. REQUIRES: start()
  void startVlans(std::uint32_t maxRows = 64);
  // Says that the agent lives, if there is one.
  void heartbeat();
  // It ends in good order.
  void stop();

  void write(Interface::EthIntfCounterGlim const& row) { _counters->counterIs(row); }
  void writeClear(Interface::EthIntfCounterGlim const& row) { _clear->counterIs(row); }
  void write(Interface::IntfDescription const& row) { _descriptions->descriptionIs(row); }
  using Queues = Interface::QueueCounter::IntfQueueCounter;
  void write(Queues const& row) { _queues->intfQueueCounterIs(row); }
  void writeClear(Queues const& row) { _clearQueues->intfQueueCounterIs(row); }
  void write(Glim::Interface::DropCounter const& row) { _drops->counterIs(row); }
  void write(Interface::VlanIntfCounterGlim const& row) { _vlans->counterIs(row); }
  void write(Qos::CoppClassCounter const& row) { _classes->counterIs(row); }
  void write(Glim::Bridging::VlanCounter const& row) { _vlanCounters->vlanCounterIs(row); }
  void writeClear(Glim::Bridging::VlanCounter const& row) {
    _vlanSnapshots->vlanCounterSnapshotIs(row);
  }
  void write(Bridging::VlanDescription const& row) { _vlanDescriptions->descriptionIs(row); }
  // Two interfaces: Ethernet1 (eth0, up) and Ethernet2 (eth1, down), with a row of each.
  void writeTwo();

  // Damage, to the files of a stopped agent.
  void damageRow(std::string_view table, std::uint64_t slot) const;
  void damageByte(std::string_view table, std::uint64_t offset) const;
  void write(std::string_view table, std::string_view content) const;

 private:
  template <class Rows>
  void take(Kel::Ptr<Rows>& rows, std::string_view table, std::uint32_t maxRows);

  Support::TemporaryFolder const _folder;
  std::string const _directory = _folder.text();
  Dov::Platform::DebugHandler _debug{0};
  Kel::Ptr<Interface::AllEthIntfCounterGlim> _counters;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> _clear;
  Kel::Ptr<Interface::AllIntfDescription> _descriptions;
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> _queues;
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> _clearQueues;
  Kel::Ptr<Glim::Interface::AllDropCounterDir> _drops;
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> _vlans;
  Kel::Ptr<Qos::AllCoppClassCounter> _classes;
  Kel::Ptr<Glim::Bridging::VlanCounterDir> _vlanCounters;
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> _vlanSnapshots;
  Kel::Ptr<Bridging::AllVlanDescription> _vlanDescriptions;
};

}  // namespace Show
