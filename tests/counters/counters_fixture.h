// The surroundings of the counters' state machines: entities, tables in shared
// memory, a helper that tells what it was asked, and virtual time.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "counters/counters_sm.h"
#include "counters/pollers/counter_records.h"
#include "counters/pollers/port_counters_sm.h"
#include "platform/interface/counter_tables.h"
#include "tests/support/call_log.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Support {

// Records every operation; hands over `sample`.
class RecordingHelper : public OruHelper::OruHelperCountersSm {
 public:
  explicit RecordingHelper(CallLog& log) : OruHelperCountersSm("helper"), _log(log) {}

  void hwInit() override { _log("hwInit"); }
  void initialize(Pekt::IntfId id) override { _log("initialize", id); }
  void deinitialize(Pekt::IntfId id) override { _log("deinitialize", id); }
  Kel::Seconds firstSyncDelay() const override { return firstSync; }
  void getCounters(Pekt::IntfId id, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override;
  void doClearCounters(Kel::String request) override { _log("helper.doClearCounters", request); }

  // Fills in the sample's error totals from its classes, as a chip must.
  void completeSample();

  Kel::Ptr<OruTypes::IntfCounters> const sample = Kel::make<OruTypes::IntfCounters>();
  Kel::Seconds firstSync = 0.0;
  std::uint64_t prevInOctets = 0;  // of the last getCounters
  std::function<void()> duringGetCounters;

 private:
  CallLog& _log;
};

// Records what is written.
class RecordingTable : public Interface::AllEthIntfCounterGlim {
 public:
  RecordingTable(Dov::Platform::DebugHandler& handler, Glim::RootPath const& path,
                 Glim::TableLimits const& limits, CallLog& log)
      : AllEthIntfCounterGlim(handler, path, limits), _log(log), _name(path.glimName()) {}

  void write(Interface::EthIntfCounterGlim const& row) override {
    _log(_name + ".counterIs", row.intfId);
    AllEthIntfCounterGlim::write(row);
  }
  void remove(Pekt::IntfId const& id) override {
    _log(_name + ".counterDel", id);
    AllEthIntfCounterGlim::remove(id);
  }

 private:
  CallLog& _log;
  std::string const _name;
};

// Records changes of a writer status or configuration.
class FlagsRecorder : public Interface::IntfFlags::NotifieeConst {
 public:
  FlagsRecorder(CallLog& log, std::string name, Kel::Ptr<Interface::IntfFlags const> const& flags);
  using NotifieeConst::onIntf;
  void onIntf(Pekt::IntfId id) override;

 private:
  CallLog& _log;
  std::string const _name;
};

class CountersFixture : public testing::Test {
 public:
  CountersFixture();

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
      tables.table<RecordingTable>("live", log);
  Kel::Ptr<Interface::AllEthIntfCounterGlim> allIntfClearCounters =
      tables.table<RecordingTable>("clear", log);

  Kel::Ptr<Interface::QueueCounter::WriterConfig> writerConfig =
      Kel::make<Interface::QueueCounter::WriterConfig>();
  Kel::Ptr<Interface::EthIntfCounterWriterStatus> writerStatus =
      Kel::make<Interface::EthIntfCounterWriterStatus>();
  Kel::Ptr<Interface::AclDropConfig> aclDropConfig = Kel::make<Interface::AclDropConfig>();

  Kel::Ptr<FlagsRecorder> writerConfigRecorder =
      Kel::make<FlagsRecorder>(log, "writerConfig", writerConfig);
  Kel::Ptr<FlagsRecorder> writerStatusRecorder =
      Kel::make<FlagsRecorder>(log, "writerStatus", writerStatus);
  Kel::Ptr<FlagsRecorder> aclDropConfigRecorder =
      Kel::make<FlagsRecorder>(log, "aclDropConfig", aclDropConfig);

  Kel::Ptr<Oru::Counters::CountersSm> sut;
};

inline Pekt::IntfId const eth1("Ethernet1"), eth2("Ethernet2");

}  // namespace Support
