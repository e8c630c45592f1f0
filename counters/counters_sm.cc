#include "counters/counters_sm.h"

#include "counters/copp/copp_type_sm.h"
#include "counters/counters_sm_reactors.h"
#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/intf_acl_drop_counters_sm.h"
#include "counters/pollers/intf_queue_counters_sm.h"
#include "counters/pollers/port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "counters/pollers/vlan_intf_counters_sm.h"
#include "platform/interface/counter_tables.h"

template class Kel::StateMachine<Oru::Counters::CountersSm, Oru::OruBaseSm>;

namespace Oru::Counters {

constinit Kel::TypeNode const CountersSm::_kelType = Kel::typeNode<CountersSm>();

CountersSm::CountersSm(
    Kel::Ptr<OruCommonSmData> const& ocsd,
    Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> const& ethPhyIntfConfigDir,
    Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> const& ethPhyIntfStatusDir,
    Kel::Ptr<CliConfig> const& cliCounterConfig,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
    Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig,
    Kel::Ptr<HwCliConfig const> const& cliConfig,
    Kel::Ptr<Qos::SliceHwStatus> const& qosSliceHwStatus,
    Kel::Ptr<Kel::Dir> const& qosSliceHwStatusDir,
    Kel::Ptr<Qos::AclSliceHwStatus> const& qosAclSliceHwStatus,
    Kel::Ptr<Kel::Dir> const& qosAclSliceHwStatusDir,
    Kel::Ptr<Interface::VlanIntfConfigDir const> const& vlanIntfConfigDir,
    Kel::Ptr<Interface::VlanIntfStatusDir const> const& vlanIntfStatusDir,
    Kel::Ptr<Glim::Interface::AllDropCounterDir> const& intfAclDropCountersDir,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfQueueCounters,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfClearQueueCounters,
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfCounters,
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters)
    : StateMachine(ocsd),
      _ethPhyIntfConfigDir(*this, ethPhyIntfConfigDir),
      _ethPhyIntfStatusDir(*this, ethPhyIntfStatusDir),
      _cliCounterConfig(cliCounterConfig),
      _platformHelper(platformHelper),
      _globalIntfConfig(globalIntfConfig),
      _cliConfig(*this, cliConfig),
      _qosSliceHwStatus(*this, qosSliceHwStatus),
      _qosSliceHwStatusDir(*this, qosSliceHwStatusDir),
      _qosAclSliceHwStatus(*this, qosAclSliceHwStatus),
      _qosAclSliceHwStatusDir(*this, qosAclSliceHwStatusDir),
      _vlanIntfConfigDir(*this, vlanIntfConfigDir),
      _vlanIntfStatusDir(*this, vlanIntfStatusDir),
      _intfAclDropCountersDir(intfAclDropCountersDir),
      _allIntfQueueCounters(allIntfQueueCounters),
      _allIntfClearQueueCounters(allIntfClearQueueCounters),
      _allIntfCounters(allIntfCounters),
      _allIntfClearCounters(allIntfClearCounters) {
  CountersSm::reactOcsdIs(ocsd);  // last: it runs the handlers once
}

CountersSm::~CountersSm() = default;

Kel::Ptr<CountersSm> countersSmFactory(
    Kel::Ptr<OruCommonSmData> const& ocsd,
    Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> const& ethPhyIntfConfigDir,
    Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> const& ethPhyIntfStatusDir,
    Kel::Ptr<CliConfig> const& cliCounterConfig,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
    Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig,
    Kel::Ptr<HwCliConfig const> const& cliConfig,
    Kel::Ptr<Qos::SliceHwStatus> const& qosSliceHwStatus,
    Kel::Ptr<Kel::Dir> const& qosSliceHwStatusDir,
    Kel::Ptr<Qos::AclSliceHwStatus> const& qosAclSliceHwStatus,
    Kel::Ptr<Kel::Dir> const& qosAclSliceHwStatusDir,
    Kel::Ptr<Interface::VlanIntfConfigDir const> const& vlanIntfConfigDir,
    Kel::Ptr<Interface::VlanIntfStatusDir const> const& vlanIntfStatusDir,
    Kel::Ptr<Glim::Interface::AllDropCounterDir> const& intfAclDropCountersDir,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfQueueCounters,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfClearQueueCounters,
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfCounters,
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters) {
  return CountersSm::CountersSmIs(
      ocsd, ethPhyIntfConfigDir, ethPhyIntfStatusDir, cliCounterConfig, platformHelper,
      globalIntfConfig, cliConfig, qosSliceHwStatus, qosSliceHwStatusDir, qosAclSliceHwStatus,
      qosAclSliceHwStatusDir, vlanIntfConfigDir, vlanIntfStatusDir, intfAclDropCountersDir,
      allIntfQueueCounters, allIntfClearQueueCounters, allIntfCounters, allIntfClearCounters);
}

void CountersSm::handleInitialized() {
  Initializing const once(*this);
  if (auto t = trace(8)) t << "virtual void Oru::Counters::CountersSm::handleInitialized()";
  _chipPrepared = false;
  platformHelper()->hwInit();
  _chipPrepared = true;
  initializedIs(true);
  handleIntf();
  handlePolicyMapType();
  handleDynamicPolicyMapType();
  handleCpuIntf();
  handleVlanIntf();
}

void CountersSm::ethIntfCounterWriterStatusIs(
    Kel::Ptr<Interface::EthIntfCounterWriterStatus> const& status) {
  _ethIntfCounterWriterStatus = status;
}

void CountersSm::allVlanIntfCountersIs(Kel::Ptr<Interface::AllVlanIntfCounterGlim> const& table) {
  _allVlanIntfCounters = table;
}

// --- Inputs -----------------------------------------------------------------

Kel::Ptr<OruCommonSmData> CountersSm::reactOcsdDel() { return _reactOcsd.notifierDel(*this); }
void CountersSm::reactOcsdIs(Kel::Ptr<OruCommonSmData> const& ocsd) {
  _reactOcsd.notifierIs(*this, ocsd);
}

Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> CountersSm::ethPhyIntfConfigDirDel() {
  return _ethPhyIntfConfigDir.notifierDel(*this);
}
void CountersSm::ethPhyIntfConfigDirIs(
    Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> const& dir) {
  _ethPhyIntfConfigDir.notifierIs(*this, dir);
}

Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> CountersSm::ethPhyIntfStatusDirDel() {
  return _ethPhyIntfStatusDir.notifierDel(*this);
}
void CountersSm::ethPhyIntfStatusDirIs(
    Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> const& dir) {
  _ethPhyIntfStatusDir.notifierIs(*this, dir);
}

Kel::Ptr<HwCliConfig const> CountersSm::cliConfigDel() { return _cliConfig.notifierDel(*this); }
void CountersSm::cliConfigIs(Kel::Ptr<HwCliConfig const> const& config) {
  _cliConfig.notifierIs(*this, config);
}

Kel::Ptr<Qos::SliceHwStatus> CountersSm::qosSliceHwStatusDel() {
  return _qosSliceHwStatus.notifierDel(*this);
}
void CountersSm::qosSliceHwStatusIs(Kel::Ptr<Qos::SliceHwStatus> const& status) {
  _qosSliceHwStatus.notifierIs(*this, status);
}

Kel::Ptr<Kel::Dir> CountersSm::qosSliceHwStatusDirDel() {
  return _qosSliceHwStatusDir.notifierDel(*this);
}
void CountersSm::qosSliceHwStatusDirIs(Kel::Ptr<Kel::Dir> const& dir) {
  _qosSliceHwStatusDir.notifierIs(*this, dir);
}

Kel::Ptr<Qos::AclSliceHwStatus> CountersSm::qosAclSliceHwStatusDel() {
  return _qosAclSliceHwStatus.notifierDel(*this);
}
void CountersSm::qosAclSliceHwStatusIs(Kel::Ptr<Qos::AclSliceHwStatus> const& status) {
  _qosAclSliceHwStatus.notifierIs(*this, status);
}

Kel::Ptr<Kel::Dir> CountersSm::qosAclSliceHwStatusDirDel() {
  return _qosAclSliceHwStatusDir.notifierDel(*this);
}
void CountersSm::qosAclSliceHwStatusDirIs(Kel::Ptr<Kel::Dir> const& dir) {
  _qosAclSliceHwStatusDir.notifierIs(*this, dir);
}

Kel::Ptr<Interface::VlanIntfConfigDir const> CountersSm::vlanIntfConfigDirDel() {
  return _vlanIntfConfigDir.notifierDel(*this);
}
void CountersSm::vlanIntfConfigDirIs(Kel::Ptr<Interface::VlanIntfConfigDir const> const& dir) {
  _vlanIntfConfigDir.notifierIs(*this, dir);
}

Kel::Ptr<Interface::VlanIntfStatusDir const> CountersSm::vlanIntfStatusDirDel() {
  return _vlanIntfStatusDir.notifierDel(*this);
}
void CountersSm::vlanIntfStatusDirIs(Kel::Ptr<Interface::VlanIntfStatusDir const> const& dir) {
  _vlanIntfStatusDir.notifierIs(*this, dir);
}

// --- Owned pollers ------------------------------------------------------------

Kel::Ptr<PortCountersSm> CountersSm::portCountersSm(Pekt::IntfId const& intfId) const {
  return _portCountersSm.member(intfId);
}
void CountersSm::portCountersSmDel(Pekt::IntfId const& intfId) {
  _portCountersSm.deleteMember(intfId);
}
void CountersSm::portCountersSmDelAll() { _portCountersSm.emptyAllBuckets(); }

Kel::Ptr<IntfQueueCountersSm> CountersSm::intfQueueCountersSm(Pekt::IntfId const& intfId) const {
  return _intfQueueCountersSm.member(intfId);
}
void CountersSm::intfQueueCountersSmDel(Pekt::IntfId const& intfId) {
  _intfQueueCountersSm.deleteMember(intfId);
}
void CountersSm::intfQueueCountersSmDelAll() { _intfQueueCountersSm.emptyAllBuckets(); }

Kel::Ptr<IntfAclDropCountersSm> CountersSm::intfAclDropCountersSm(
    Pekt::IntfId const& intfId) const {
  return _intfAclDropCountersSm.member(intfId);
}
void CountersSm::intfAclDropCountersSmDel(Pekt::IntfId const& intfId) {
  _intfAclDropCountersSm.deleteMember(intfId);
}
void CountersSm::intfAclDropCountersSmDelAll() { _intfAclDropCountersSm.emptyAllBuckets(); }

Kel::Ptr<CountersCoppTypeSm> CountersSm::coppTypeSmIs(
    Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& helper) {
  return _coppTypeSm.newMember(pmapType->type(), pmapType, helper);
}
Kel::Ptr<CountersCoppTypeSm> CountersSm::coppTypeSm(Qos::MapType type) const {
  return _coppTypeSm.member(type);
}
void CountersSm::coppTypeSmDel(Qos::MapType type) { _coppTypeSm.deleteMember(type); }
void CountersSm::coppTypeSmDelAll() { _coppTypeSm.emptyAllBuckets(); }

Kel::Ptr<CountersDynamicCoppTypeSm> CountersSm::coppDynamicTypeSmIs(
    Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& helper) {
  return _coppDynamicTypeSm.newMember(pmapType->type(), pmapType, helper);
}
Kel::Ptr<CountersDynamicCoppTypeSm> CountersSm::coppDynamicTypeSm(Qos::MapType type) const {
  return _coppDynamicTypeSm.member(type);
}
void CountersSm::coppDynamicTypeSmDel(Qos::MapType type) { _coppDynamicTypeSm.deleteMember(type); }
void CountersSm::coppDynamicTypeSmDelAll() { _coppDynamicTypeSm.emptyAllBuckets(); }

Kel::Ptr<CpuPortCountersSm> CountersSm::cpuPortCountersSm(Pekt::IntfId const& intfId) const {
  return _cpuPortCountersSm.member(intfId);
}
void CountersSm::cpuPortCountersSmDel(Pekt::IntfId const& intfId) {
  _cpuPortCountersSm.deleteMember(intfId);
}
void CountersSm::cpuPortCountersSmDelAll() { _cpuPortCountersSm.emptyAllBuckets(); }

Kel::Ptr<VlanIntfCountersSm> CountersSm::vlanIntfCountersSm(Pekt::IntfId const& intfId) const {
  return _vlanIntfCountersSm.member(intfId);
}
void CountersSm::vlanIntfCountersSmDel(Pekt::IntfId const& intfId) {
  _vlanIntfCountersSm.deleteMember(intfId);
}
void CountersSm::vlanIntfCountersSmDelAll() { _vlanIntfCountersSm.emptyAllBuckets(); }

}  // namespace Oru::Counters
