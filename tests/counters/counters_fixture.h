// The surroundings of the counters' state machines: entities, tables in shared
// memory, a helper that tells what it was asked, and virtual time.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "counters/counters_sm.h"
#include "counters/pollers/counter_records.h"
#include "counters/pollers/intf_acl_drop_counters_sm.h"
#include "counters/pollers/intf_queue_counters_sm.h"
#include "counters/pollers/port_counters_sm.h"
#include "platform/dov/exception.h"
#include "platform/interface/counter_tables.h"
#include "tests/support/call_log.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Support {

// Records every operation; hands over `sample`.
class RecordingHelper : public OruHelper::OruHelperCountersSm {
 public:
  explicit RecordingHelper(CallLog& log) : OruHelperCountersSm("helper"), _log(log) {}

  void hwInit() override {
    _log("hwInit");
    run(duringHwInit);
  }
  void initialize(Pekt::IntfId id) override {
    _log("initialize", id);
    run(duringInitialize);
  }
  void deinitialize(Pekt::IntfId id) override {
    _log("deinitialize", id);
    run(duringDeinitialize);
  }
  void initializeCpuPort(Kel::String intfName) override {
    _log("initializeCpuPort", intfName);
    run(duringInitializeCpuPort);
  }
  void resetCpuQueueCounters(Kel::Name className) override {
    _log("resetCpuQueueCounters", className);
    run(duringReset);
  }
  void getCoppCounters() override {
    _log("getCoppCounters");
    run(duringGetCoppCounters);
  }
  Kel::Seconds firstSyncDelay() const override { return firstSync; }
  void getCounters(Pekt::IntfId id, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override;
  void getIntfQueueType(Pekt::IntfId id, Kel::Ptr<OruTypes::IntfQueueType> queueType) override {
    _log("getIntfQueueType", id);
    run(duringGetIntfQueueType);
    for (auto const& [index, type] : queueTypes) queueType->queueTypeIs(index, type);
  }
  void getIntfQueueCounters(Pekt::IntfId id,
                            Kel::Ptr<OruTypes::IntfQueueCounters> counters) override {
    _log("getIntfQueueCounters", id);
    if (fillQueueCounters) fillQueueCounters(*counters);
  }
  void getVlanIntfCounters(Pekt::IntfId id, Kel::Ptr<OruTypes::VlanIntfCounters> newCounters,
                           Kel::Ptr<OruTypes::VlanIntfCounters> prevCounters) override;
  bool initializeVlanIntfCounters(Pekt::IntfId id, std::uint16_t vlanId) override {
    _log("initializeVlanIntfCounters", id, vlanId);
    run(duringInitializeVlanIntfCounters);
    return countsVlanIntfs;
  }
  void deleteVlanIntfCounters(Pekt::IntfId id) override {
    _log("deleteVlanIntfCounters", id);
    run(duringDeleteVlanIntfCounters);
  }
  void doClearCounters(Kel::String request) override { _log("helper.doClearCounters", request); }
  bool aclDropCountersSupported() override { return aclDropsSupported; }
  std::uint64_t getIntfAclDropCounters(Pekt::IntfId id) override {
    _log("getIntfAclDropCounters", id);
    run(duringGetIntfAclDropCounters);
    return aclDrops;
  }

  // Fills in the sample's error totals from its classes, as a chip must.
  void completeSample();

  Kel::Ptr<OruTypes::IntfCounters> const sample = Kel::make<OruTypes::IntfCounters>();
  Kel::Seconds firstSync = 0.0;
  std::uint64_t prevInOctets = 0;  // of the last getCounters
  std::map<std::uint8_t, OruTypes::QueueType> queueTypes{{0, OruTypes::QueueType::unicast}};
  bool aclDropsSupported = false;
  std::uint64_t aclDrops = 0;
  bool countsVlanIntfs = true;
  Interface::IntfStatistics vlanSample;
  std::function<void()> duringHwInit, duringInitialize, duringGetCounters, duringDeinitialize;
  std::function<void()> duringGetIntfQueueType, duringGetIntfAclDropCounters;
  std::function<void()> duringReset;
  std::function<void()> duringInitializeCpuPort, duringGetCoppCounters;
  std::function<void()> duringInitializeVlanIntfCounters, duringGetVlanIntfCounters;
  std::function<void()> duringDeleteVlanIntfCounters;
  std::function<void(OruTypes::IntfQueueCounters&)> fillQueueCounters;

 private:
  // A copy: what is run may put another in its place.
  static void run(std::function<void()> what) {
    if (what) what();
  }

  CallLog& _log;
};

// Records what is written. `what` is the table's word for a row in its operations.
template <class Table>
class Recording : public Table {
 public:
  using Record = typename Table::Record;
  using Key = typename Table::Key;

  Recording(Dov::Platform::DebugHandler& handler, Glim::RootPath const& path,
            Glim::TableLimits const& limits, CallLog& log, std::string const& what)
      : Table(handler, path, limits),
        _log(log),
        _path(path.glimName()),
        _name(_path + '.' + what) {}

  void write(Record const& row) override {
    _log(_name + "Is", keyOf(row));
    if (full) Dov::ResourceException::throwException("the table is full");
    Table::write(row);
  }
  void remove(Key const& id) override {
    _log(_name + "Del", id);
    if (duringRemove) duringRemove();
    Table::remove(id);
  }
  typename Table::Slot directWrite(Key const& id) override {
    _log(_path + ".directWrite", id);
    return Table::directWrite(id);
  }
  void commit(typename Table::Slot const& slot) override {
    _log(_name + "Commit", keyOf(*slot));
    if (full) Dov::ResourceException::throwException("the table is full");
    Table::commit(slot);
  }

  bool full = false;
  std::function<void()> duringRemove;

 private:
  static Key const& keyOf(Record const& row) { return Glim::RecordTraits<Record>::key(row); }

  CallLog& _log;
  std::string const _path, _name;
};
using RecordingTable = Recording<Interface::AllEthIntfCounterGlim>;
using RecordingVlanTable = Recording<Interface::AllVlanIntfCounterGlim>;
using RecordingQueueTable = Recording<Interface::QueueCounter::AllIntfQueueCounters>;
using RecordingDropTable = Recording<Glim::Interface::AllDropCounterDir>;

// Records the calls on a writer status or configuration, those that change nothing included.
template <class Flags>
class RecordingFlags : public Flags {
 public:
  RecordingFlags(CallLog& log, std::string name) : _log(log), _name(std::move(name)) {}

  void intfIs(Pekt::IntfId const& id, bool flag) override {
    _log(_name + ".intfIs", id, flag ? "true" : "false");
    Flags::intfIs(id, flag);
  }
  void intfDel(Pekt::IntfId const& id) override {
    _log(_name + ".intfDel", id);
    Flags::intfDel(id);
  }

 private:
  CallLog& _log;
  std::string const _name;
};

class CountersFixture : public testing::Test {
 public:
  CountersFixture();

  // Gives `sut` the tables of queues and drops, and the helper its ACL drop counters. Before
  // make().
  void withQueuesAndDrops();
  // Makes `sut` with all inputs, its notifications on, not initialized.
  void make();
  void makeInitialized();
  // Entities of an interface; the notifications that they cause come in this order.
  void addConfig(Pekt::IntfId const& id);
  void addStatus(Pekt::IntfId const& id);
  void addIntf(Pekt::IntfId const& id);
  Interface::EthIntfCounterGlim row(Pekt::IntfId const& id) { return allIntfCounters->counter(id); }

  CallLog log;
  VirtualTime time;
  TemporaryTables tables;

  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<Interface::AllEthPhyIntfConfigDir> configDir =
      Kel::make<Interface::AllEthPhyIntfConfigDir>();
  Kel::Ptr<Interface::AllEthPhyIntfStatusDir> statusDir =
      Kel::make<Interface::AllEthPhyIntfStatusDir>();
  Kel::Ptr<Oru::Counters::CliConfig> cliCounterConfig = Kel::make<Oru::Counters::CliConfig>();
  Kel::Ptr<RecordingHelper> helper = Kel::make<RecordingHelper>(log);
  Kel::Ptr<Interface::GlobalIntfConfig> globalIntfConfig = Kel::make<Interface::GlobalIntfConfig>();
  Kel::Ptr<Oru::HwCliConfig> cliConfig = Kel::make<Oru::HwCliConfig>();
  Kel::Ptr<Qos::SliceHwStatus> qosSliceHwStatus = Kel::make<Qos::SliceHwStatus>("slice");
  Kel::Ptr<Kel::Dir> qosSliceHwStatusDir = Kel::make<Kel::Dir>();
  Kel::Ptr<Qos::AclSliceHwStatus> qosAclSliceHwStatus = Kel::make<Qos::AclSliceHwStatus>("acl");
  Kel::Ptr<Kel::Dir> qosAclSliceHwStatusDir = Kel::make<Kel::Dir>();
  Kel::Ptr<Interface::VlanIntfConfigDir> vlanIntfConfigDir =
      Kel::make<Interface::VlanIntfConfigDir>();
  Kel::Ptr<Interface::VlanIntfStatusDir> vlanIntfStatusDir =
      Kel::make<Interface::VlanIntfStatusDir>();
  Kel::Ptr<Interface::AllEthIntfCounterGlim> allIntfCounters =
      tables.table<RecordingTable>("live", log, "counter");
  Kel::Ptr<Interface::AllEthIntfCounterGlim> allIntfClearCounters =
      tables.table<RecordingTable>("clear", log, "counter");
  // Null unless withQueuesAndDrops().
  Kel::Ptr<RecordingQueueTable> allIntfQueueCounters, allIntfClearQueueCounters;
  Kel::Ptr<RecordingDropTable> intfAclDropCountersDir;

  Kel::Ptr<Interface::QueueCounter::WriterConfig> writerConfig =
      Kel::make<RecordingFlags<Interface::QueueCounter::WriterConfig>>(log, "writerConfig");
  Kel::Ptr<Interface::EthIntfCounterWriterStatus> writerStatus =
      Kel::make<RecordingFlags<Interface::EthIntfCounterWriterStatus>>(log, "writerStatus");
  Kel::Ptr<Interface::AclDropConfig> aclDropConfig =
      Kel::make<RecordingFlags<Interface::AclDropConfig>>(log, "aclDropConfig");

  Kel::Ptr<Oru::Counters::CountersSm> sut;
};

inline Pekt::IntfId const eth1("Ethernet1"), eth2("Ethernet2"), vlan7("Vlan7"), cpu("Cpu");

}  // namespace Support
