// The top-level state machine of the counters.
#pragma once

#include <cstdint>

#include "counters/pollers/helper.h"
#include "platform/interface/intf_dirs.h"
#include "platform/interface/writer_status.h"
#include "platform/kel/dir.h"
#include "platform/kel/hash_map.h"
#include "platform/oru/base_sm.h"
#include "platform/oru/common_sm_data.h"
#include "platform/oru/counters_cli_config.h"
#include "platform/oru/hw_cli_config.h"
#include "platform/qos/policy_map_status.h"

namespace Glim::Interface {
class AllDropCounterDir;
struct DropCounter;
}  // namespace Glim::Interface
namespace Interface {
class AllEthIntfCounterGlim;
class AllVlanIntfCounterGlim;
namespace QueueCounter {
class AllIntfQueueCounters;
}
}  // namespace Interface
namespace OruTypes {
// The kinds of counter that a forced update names.
enum class CounterType : std::uint32_t {
  queue = 0,
  port = 1,
  cpuPort = 2,
  vlanIntf = 3,
  vlan = 4,      // has no poller here
  snapshot = 5,  // has no poller here
  aclDrop = 6,
};
std::ostream& operator<<(std::ostream& out, CounterType type);
}  // namespace OruTypes

namespace Oru::Counters {

class CountersCoppTypeSm;
class CountersDynamicCoppTypeSm;
class CpuPortCountersSm;
class IntfAclDropCountersSm;
class IntfQueueCountersSm;
class PortCountersSm;
class VlanIntfCountersSm;

// Keeps one poller per interface and kind of counter, for the interfaces that
// the agent serves, and their rows in the counter tables.
//
//   auto counters = Oru::Counters::countersSmFactory(ocsd, …);   // eighteen inputs
//   counters->writerConfigIs(…);                                 // and the rest of the setters
//   counters->counterPollPeriodIs(5.0);
//   counters->initializedIs(true);
//
// From then on it runs by itself, on the agent's thread: every notification of
// its inputs is handled when it arrives, one key at a time. Each handler decides
// afresh from the state of the inputs and keeps no memory of its own beyond the
// collections. Before it is initialized, no handler makes a poller.
//
// Destroying it deletes the pollers and leaves rows and writer status as they
// are: only the deletion of an interface removes those.
class CountersSm : public Kel::StateMachine<CountersSm, OruBaseSm> {
 public:
  // Any input may be null; nothing is then heard of it. The helper must be there
  // when the object is initialized, the clear tables whenever their tables of
  // counters are, and the table of ACL drops whenever the helper supports those.
  CountersSm(
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
      Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters);
  ~CountersSm() override;

  // Makes the object with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<CountersSm> CountersSmIs(Params const&... params) {
    return Kel::instance<CountersSm>(params...);
  }

  // Slots, in contract order. A platform may derive and override the handlers.
  void handleInitialized() override;
  virtual void handleIntf(Pekt::IntfId intfId);
  virtual void doClearCounters(Kel::String request);
  virtual void handleCpuIntf(Pekt::IntfId intf);
  virtual Kel::Ptr<OruCommonSmData> reactOcsdDel();
  virtual void reactOcsdIs(Kel::Ptr<OruCommonSmData> const& ocsd);
  virtual void ethIntfCounterWriterStatusIs(
      Kel::Ptr<Interface::EthIntfCounterWriterStatus> const& status);
  virtual Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> ethPhyIntfConfigDirDel();
  virtual void ethPhyIntfConfigDirIs(Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> const& dir);
  virtual Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> ethPhyIntfStatusDirDel();
  virtual void ethPhyIntfStatusDirIs(Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> const& dir);
  virtual Kel::Ptr<HwCliConfig const> cliConfigDel();
  virtual void cliConfigIs(Kel::Ptr<HwCliConfig const> const& config);
  virtual Kel::Ptr<Qos::SliceHwStatus> qosSliceHwStatusDel();
  virtual void qosSliceHwStatusIs(Kel::Ptr<Qos::SliceHwStatus> const& status);
  virtual Kel::Ptr<Kel::Dir> qosSliceHwStatusDirDel();
  virtual void qosSliceHwStatusDirIs(Kel::Ptr<Kel::Dir> const& dir);
  virtual Kel::Ptr<Qos::AclSliceHwStatus> qosAclSliceHwStatusDel();
  virtual void qosAclSliceHwStatusIs(Kel::Ptr<Qos::AclSliceHwStatus> const& status);
  virtual Kel::Ptr<Kel::Dir> qosAclSliceHwStatusDirDel();
  virtual void qosAclSliceHwStatusDirIs(Kel::Ptr<Kel::Dir> const& dir);
  virtual Kel::Ptr<Interface::VlanIntfConfigDir const> vlanIntfConfigDirDel();
  virtual void vlanIntfConfigDirIs(Kel::Ptr<Interface::VlanIntfConfigDir const> const& dir);
  virtual Kel::Ptr<Interface::VlanIntfStatusDir const> vlanIntfStatusDirDel();
  virtual void vlanIntfStatusDirIs(Kel::Ptr<Interface::VlanIntfStatusDir const> const& dir);

  // --- Handlers ---

  // Ethernet interfaces: a present one (served by this agent, with configuration
  // and status) has rows, writer status and pollers; an absent one loses them.
  // The keyless form visits the interfaces that the agent's common data lists.
  void handleIntf();
  void handleCpuIntf();
  void handleVlanIntf(Pekt::IntfId vlanIntfId);
  void handleVlanIntf();
  // Policy-map types: the one of the control plane gets its state machine, which then stays. Need
  // the slice's status; do not wait for the start.
  void handlePolicyMapType(Qos::MapType type);
  void handlePolicyMapType();
  void handleDynamicPolicyMapType(Qos::MapType type);
  void handleDynamicPolicyMapType();
  // Change nothing: which slice is watched, the agent says.
  void handleQosSliceHwStatusDir(Kel::Name name);
  void handleQosAclSliceHwStatusDir(Kel::Name name);
  // Makes one poller read its counters now; does nothing where there is none.
  // REQUIRES: type is neither 4 nor 5.
  void updateCounters(OruTypes::CounterType type, Pekt::IntfId intf);

  // --- Inputs ---

  Kel::Ptr<Interface::AllEthPhyIntfConfigDir const> ethPhyIntfConfigDir() const {
    return _ethPhyIntfConfigDir.notifier();
  }
  Kel::Ptr<Interface::AllEthPhyIntfStatusDir const> ethPhyIntfStatusDir() const {
    return _ethPhyIntfStatusDir.notifier();
  }
  Kel::Ptr<CliConfig> const& cliCounterConfig() const { return _cliCounterConfig; }
  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }
  Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig() const {
    return _globalIntfConfig;
  }
  Kel::Ptr<HwCliConfig const> cliConfig() const { return _cliConfig.notifier(); }
  Kel::Ptr<Qos::SliceHwStatus> qosSliceHwStatus() const { return _qosSliceHwStatus.notifier(); }
  Kel::Ptr<Kel::Dir> qosSliceHwStatusDir() const { return _qosSliceHwStatusDir.notifier(); }
  Kel::Ptr<Qos::AclSliceHwStatus> qosAclSliceHwStatus() const {
    return _qosAclSliceHwStatus.notifier();
  }
  Kel::Ptr<Kel::Dir> qosAclSliceHwStatusDir() const { return _qosAclSliceHwStatusDir.notifier(); }
  Kel::Ptr<Interface::VlanIntfConfigDir const> vlanIntfConfigDir() const {
    return _vlanIntfConfigDir.notifier();
  }
  Kel::Ptr<Interface::VlanIntfStatusDir const> vlanIntfStatusDir() const {
    return _vlanIntfStatusDir.notifier();
  }
  Kel::Ptr<OruCommonSmData> reactOcsd() const { return _reactOcsd.notifier(); }

  Kel::Ptr<Glim::Interface::AllDropCounterDir> const& intfAclDropCountersDir() const {
    return _intfAclDropCountersDir;
  }
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfQueueCounters() const {
    return _allIntfQueueCounters;
  }
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfClearQueueCounters() const {
    return _allIntfClearQueueCounters;
  }
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfCounters() const {
    return _allIntfCounters;
  }
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters() const {
    return _allIntfClearCounters;
  }

  // --- Set by the agent after construction; setters only store ---

  // Interfaces for which queue counters are written.
  Kel::Ptr<Interface::QueueCounter::WriterConfig> const& writerConfig() const {
    return _writerConfig;
  }
  void writerConfigIs(Kel::Ptr<Interface::QueueCounter::WriterConfig> const& config) {
    _writerConfig = config;
  }
  // Set with ethIntfCounterWriterStatusIs. REQUIRES: set whenever allIntfCounters
  // is, before the first interface is handled.
  Kel::Ptr<Interface::EthIntfCounterWriterStatus> const& ethIntfCounterWriterStatus() const {
    return _ethIntfCounterWriterStatus;
  }
  Kel::Ptr<Interface::AclDropConfig> const& aclDropConfig() const { return _aclDropConfig; }
  void aclDropConfigIs(Kel::Ptr<Interface::AclDropConfig> const& config) {
    _aclDropConfig = config;
  }
  // Without it no VLAN interface is present. REQUIRES: once set, it stays set while any VLAN
  // interface has its poller, whose end deletes the row here.
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> const& allVlanIntfCounters() const {
    return _allVlanIntfCounters;
  }
  void allVlanIntfCountersIs(Kel::Ptr<Interface::AllVlanIntfCounterGlim> const& table);
  // The VLAN interfaces that have a poller. REQUIRES: set whenever allVlanIntfCounters is, before
  // the first VLAN interface is handled.
  Kel::Ptr<Interface::VlanIntfCounterWriterStatus> const& vlanIntfCounterWriterStatus() const {
    return _vlanIntfCounterWriterStatus;
  }
  void vlanIntfCounterWriterStatusIs(
      Kel::Ptr<Interface::VlanIntfCounterWriterStatus> const& status) {
    _vlanIntfCounterWriterStatus = status;
  }
  // Seconds; for pollers made from now on. Existing ones keep what they have.
  Kel::Seconds counterPollPeriod() const { return _counterPollPeriod; }
  // Throws Kel::RangeException for what is no period.
  void counterPollPeriodIs(double const& period) {
    Kel::requirePeriod(period);
    _counterPollPeriod = period;
  }

  // --- Owned pollers ---

  // Finds the port's poller, which must have been made with these parameters
  // (Throws Kel::NameInUseException otherwise), or makes it; the parameters are
  // those of its constructor.
  template <class... Rest>
  Kel::Ptr<PortCountersSm> portCountersSmIs(Kel::Ptr<OruCommonSmData> const& ocsd,
                                            Pekt::IntfId const& intfId, Rest const&... rest) {
    return _portCountersSm.newMember(intfId, ocsd, intfId, rest...);
  }
  Kel::Ptr<PortCountersSm> portCountersSm(Pekt::IntfId const& intfId) const;
  Kel::HashMap<PortCountersSm, Pekt::IntfId> const& portCountersSm() const {
    return _portCountersSm;
  }
  void portCountersSmDel(Pekt::IntfId const& intfId);
  void portCountersSmDelAll();

  // The same of the queue pollers.
  template <class... Rest>
  Kel::Ptr<IntfQueueCountersSm> intfQueueCountersSmIs(Kel::Ptr<OruCommonSmData> const& ocsd,
                                                      Pekt::IntfId const& intfId,
                                                      Rest const&... rest) {
    return _intfQueueCountersSm.newMember(intfId, ocsd, intfId, rest...);
  }
  Kel::Ptr<IntfQueueCountersSm> intfQueueCountersSm(Pekt::IntfId const& intfId) const;
  Kel::HashMap<IntfQueueCountersSm, Pekt::IntfId> const& intfQueueCountersSm() const {
    return _intfQueueCountersSm;
  }
  void intfQueueCountersSmDel(Pekt::IntfId const& intfId);
  void intfQueueCountersSmDelAll();

  // The same of the ACL drop pollers.
  template <class... Rest>
  Kel::Ptr<IntfAclDropCountersSm> intfAclDropCountersSmIs(Pekt::IntfId const& intfId,
                                                          Rest const&... rest) {
    return _intfAclDropCountersSm.newMember(intfId, intfId, rest...);
  }
  Kel::Ptr<IntfAclDropCountersSm> intfAclDropCountersSm(Pekt::IntfId const& intfId) const;
  Kel::HashMap<IntfAclDropCountersSm, Pekt::IntfId> const& intfAclDropCountersSm() const {
    return _intfAclDropCountersSm;
  }
  void intfAclDropCountersSmDel(Pekt::IntfId const& intfId);
  void intfAclDropCountersSmDelAll();

  // The state machines of the policy-map types, by the type that each watches. The same rules.
  Kel::Ptr<CountersCoppTypeSm> coppTypeSmIs(
      Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType,
      Kel::Ptr<OruHelper::OruHelperCountersSm> const& helper);
  Kel::Ptr<CountersCoppTypeSm> coppTypeSm(Qos::MapType type) const;
  Kel::HashMap<CountersCoppTypeSm, Qos::MapType> const& coppTypeSm() const { return _coppTypeSm; }
  void coppTypeSmDel(Qos::MapType type);
  void coppTypeSmDelAll();

  Kel::Ptr<CountersDynamicCoppTypeSm> coppDynamicTypeSmIs(
      Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType,
      Kel::Ptr<OruHelper::OruHelperCountersSm> const& helper);
  Kel::Ptr<CountersDynamicCoppTypeSm> coppDynamicTypeSm(Qos::MapType type) const;
  Kel::HashMap<CountersDynamicCoppTypeSm, Qos::MapType> const& coppDynamicTypeSm() const {
    return _coppDynamicTypeSm;
  }
  void coppDynamicTypeSmDel(Qos::MapType type);
  void coppDynamicTypeSmDelAll();

  // The same of the CPU port pollers.
  template <class... Rest>
  Kel::Ptr<CpuPortCountersSm> cpuPortCountersSmIs(Kel::Ptr<OruCommonSmData> const& ocsd,
                                                  Pekt::IntfId const& intfId, Rest const&... rest) {
    return _cpuPortCountersSm.newMember(intfId, ocsd, intfId, rest...);
  }
  Kel::Ptr<CpuPortCountersSm> cpuPortCountersSm(Pekt::IntfId const& intfId) const;
  Kel::HashMap<CpuPortCountersSm, Pekt::IntfId> const& cpuPortCountersSm() const {
    return _cpuPortCountersSm;
  }
  void cpuPortCountersSmDel(Pekt::IntfId const& intfId);
  void cpuPortCountersSmDelAll();

  // The same of the VLAN interface pollers.
  template <class... Rest>
  Kel::Ptr<VlanIntfCountersSm> vlanIntfCountersSmIs(Kel::Ptr<OruCommonSmData> const& ocsd,
                                                    Pekt::IntfId const& intfId,
                                                    Rest const&... rest) {
    return _vlanIntfCountersSm.newMember(intfId, ocsd, intfId, rest...);
  }
  Kel::Ptr<VlanIntfCountersSm> vlanIntfCountersSm(Pekt::IntfId const& intfId) const;
  Kel::HashMap<VlanIntfCountersSm, Pekt::IntfId> const& vlanIntfCountersSm() const {
    return _vlanIntfCountersSm;
  }
  void vlanIntfCountersSmDel(Pekt::IntfId const& intfId);
  void vlanIntfCountersSmDelAll();

  static constexpr auto kelDescription() {
    using Sm = CountersSm;
    return Kel::describe(
        "Oru::Counters::CountersSm", Kel::parameter("ocsd", &Sm::ocsd),
        Kel::watchedParameter("ethPhyIntfConfigDir", &Sm::_ethPhyIntfConfigDir),
        Kel::watchedParameter("ethPhyIntfStatusDir", &Sm::_ethPhyIntfStatusDir),
        Kel::parameter("cliCounterConfig", &Sm::_cliCounterConfig),
        Kel::parameter("platformHelper", &Sm::_platformHelper),
        Kel::parameter("globalIntfConfig", &Sm::_globalIntfConfig),
        Kel::watchedParameter("cliConfig", &Sm::_cliConfig),
        Kel::watchedParameter("qosSliceHwStatus", &Sm::_qosSliceHwStatus),
        Kel::watchedParameter("qosSliceHwStatusDir", &Sm::_qosSliceHwStatusDir),
        Kel::watchedParameter("qosAclSliceHwStatus", &Sm::_qosAclSliceHwStatus),
        Kel::watchedParameter("qosAclSliceHwStatusDir", &Sm::_qosAclSliceHwStatusDir),
        Kel::watchedParameter("vlanIntfConfigDir", &Sm::_vlanIntfConfigDir),
        Kel::watchedParameter("vlanIntfStatusDir", &Sm::_vlanIntfStatusDir),
        Kel::parameter("intfAclDropCountersDir", &Sm::_intfAclDropCountersDir),
        Kel::parameter("allIntfQueueCounters", &Sm::_allIntfQueueCounters),
        Kel::parameter("allIntfClearQueueCounters", &Sm::_allIntfClearQueueCounters),
        Kel::parameter("allIntfCounters", &Sm::_allIntfCounters),
        Kel::parameter("allIntfClearCounters", &Sm::_allIntfClearCounters),
        Kel::watched("reactOcsd", &Sm::_reactOcsd), Kel::value("writerConfig", &Sm::writerConfig),
        Kel::value("ethIntfCounterWriterStatus", &Sm::ethIntfCounterWriterStatus),
        Kel::value("aclDropConfig", &Sm::aclDropConfig),
        Kel::value("allVlanIntfCounters", &Sm::allVlanIntfCounters),
        Kel::value("vlanIntfCounterWriterStatus", &Sm::vlanIntfCounterWriterStatus),
        Kel::value("counterPollPeriod", &Sm::counterPollPeriod, &Sm::counterPollPeriodIs),
        Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
        Kel::collection("portCountersSm", &Sm::_portCountersSm),
        Kel::collection("intfQueueCountersSm", &Sm::_intfQueueCountersSm),
        Kel::collection("intfAclDropCountersSm", &Sm::_intfAclDropCountersSm),
        Kel::collection("coppTypeSm", &Sm::_coppTypeSm),
        Kel::collection("coppDynamicTypeSm", &Sm::_coppDynamicTypeSm),
        Kel::collection("cpuPortCountersSm", &Sm::_cpuPortCountersSm),
        Kel::collection("vlanIntfCountersSm", &Sm::_vlanIntfCountersSm),
        Kel::operation<Pekt::IntfId>("handleIntf", &Sm::handleIntf),
        Kel::operation<Kel::String>("doClearCounters", &Sm::doClearCounters),
        Kel::operation<Pekt::IntfId>("handleCpuIntf", &Sm::handleCpuIntf),
        Kel::operation<Pekt::IntfId>("handleVlanIntf", &Sm::handleVlanIntf),
        Kel::operation<Qos::MapType>("handlePolicyMapType", &Sm::handlePolicyMapType),
        Kel::operation<Qos::MapType>("handleDynamicPolicyMapType", &Sm::handleDynamicPolicyMapType),
        Kel::operation("handleQosSliceHwStatusDir", &Sm::handleQosSliceHwStatusDir),
        Kel::operation("handleQosAclSliceHwStatusDir", &Sm::handleQosAclSliceHwStatusDir),
        Kel::operation("updateCounters", &Sm::updateCounters, &Sm::updateCountersRefusal));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelReactOcsd;
  class KelEthPhyIntfConfigDir;
  class KelEthPhyIntfStatusDir;
  class KelCliConfig;
  class KelQosSliceHwStatus;
  class KelQosSliceHwStatusDir;
  class KelQosAclSliceHwStatus;
  class KelQosAclSliceHwStatusDir;
  class KelVlanIntfConfigDir;
  class KelVlanIntfStatusDir;

  static std::string updateCountersRefusal(CountersSm const&, OruTypes::CounterType const& type,
                                           Pekt::IntfId const&);

  // Initialized, and the chip prepared: what makes pollers waits for both.
  bool started() const { return initialized() && _chipPrepared; }

  // What handleIntf(intfId) decides by, and its two branches.
  struct EthIntf {
    bool served = false;
    Kel::Ptr<Interface::EthPhyIntfStatus const> status;
    Kel::Ptr<Interface::EthPhyIntfConfig const> config;
    bool present() const { return served && status && config; }
  };
  EthIntf ethIntf(Pekt::IntfId const& intfId) const;
  void intfPresent(Pekt::IntfId const& intfId);
  void intfAbsent(Pekt::IntfId const& intfId, bool statusExists);
  void addRows(Pekt::IntfId const& intfId);
  Glim::Interface::DropCounter addDropRow(Pekt::IntfId const& intfId);

  // The same of handleVlanIntf(vlanIntfId).
  struct VlanIntf {
    bool served = false;
    Kel::Ptr<Interface::VlanIntfStatus const> status;
    Kel::Ptr<Interface::VlanIntfConfig const> config;
    bool counted = false;  // there is a table
    bool present() const { return served && status && config && counted; }
  };
  VlanIntf vlanIntf(Pekt::IntfId const& vlanIntfId) const;
  void vlanIntfPresent(Pekt::IntfId const& vlanIntfId);
  void vlanIntfAbsent(Pekt::IntfId const& vlanIntfId);

  // In the order in which the constructor makes them.
  Kel::Input<KelEthPhyIntfConfigDir, Interface::AllEthPhyIntfConfigDir const> _ethPhyIntfConfigDir;
  Kel::Input<KelEthPhyIntfStatusDir, Interface::AllEthPhyIntfStatusDir const> _ethPhyIntfStatusDir;
  Kel::Ptr<CliConfig> const _cliCounterConfig;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  Kel::Ptr<Interface::GlobalIntfConfig const> const _globalIntfConfig;
  Kel::HashMap<PortCountersSm, Pekt::IntfId> _portCountersSm;
  Kel::HashMap<IntfQueueCountersSm, Pekt::IntfId> _intfQueueCountersSm;
  Kel::HashMap<IntfAclDropCountersSm, Pekt::IntfId> _intfAclDropCountersSm;
  Kel::Ptr<Interface::QueueCounter::WriterConfig> _writerConfig;
  Kel::Ptr<Interface::EthIntfCounterWriterStatus> _ethIntfCounterWriterStatus;
  Kel::Ptr<Interface::AclDropConfig> _aclDropConfig;
  Kel::Input<KelCliConfig, HwCliConfig const> _cliConfig;
  Kel::Input<KelQosSliceHwStatus, Qos::SliceHwStatus> _qosSliceHwStatus;
  Kel::Input<KelQosSliceHwStatusDir, Kel::Dir> _qosSliceHwStatusDir;
  Kel::HashMap<CountersCoppTypeSm, Qos::MapType> _coppTypeSm;
  Kel::Input<KelQosAclSliceHwStatus, Qos::AclSliceHwStatus> _qosAclSliceHwStatus;
  Kel::Input<KelQosAclSliceHwStatusDir, Kel::Dir> _qosAclSliceHwStatusDir;
  Kel::HashMap<CountersDynamicCoppTypeSm, Qos::MapType> _coppDynamicTypeSm;
  Kel::HashMap<CpuPortCountersSm, Pekt::IntfId> _cpuPortCountersSm;
  Kel::Input<KelVlanIntfConfigDir, Interface::VlanIntfConfigDir const> _vlanIntfConfigDir;
  Kel::Input<KelVlanIntfStatusDir, Interface::VlanIntfStatusDir const> _vlanIntfStatusDir;
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> _allVlanIntfCounters;
  Kel::Ptr<Interface::VlanIntfCounterWriterStatus> _vlanIntfCounterWriterStatus;
  Kel::HashMap<VlanIntfCountersSm, Pekt::IntfId> _vlanIntfCountersSm;
  Kel::Ptr<Glim::Interface::AllDropCounterDir> const _intfAclDropCountersDir;
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const _allIntfQueueCounters;
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const _allIntfClearQueueCounters;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const _allIntfCounters;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const _allIntfClearCounters;
  Kel::Seconds _counterPollPeriod = 0.0;
  bool _chipPrepared = false;
  Kel::Input<KelReactOcsd, OruCommonSmData> _reactOcsd;
};

// Makes the object with its notifications on. Throws what its construction
// throws, with everything built so far released.
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
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters);

}  // namespace Oru::Counters

extern template class Kel::StateMachine<Oru::Counters::CountersSm, Oru::OruBaseSm>;
