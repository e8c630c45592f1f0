// The counters of VLANs.
#pragma once

#include "platform/bridging/vlan_id.h"
#include "platform/kel/state_machine.h"
#include "platform/kel/system.h"

namespace Bridging {
class Config;
class VlanCountersCliReq;
}  // namespace Bridging
namespace Glim::Bridging {
class VlanCounterDir;
class VlanCounterSnapshotDir;
}  // namespace Glim::Bridging
namespace OruHelper {
class OruVlanCountersHelper;
}
namespace Wib {
class TimerWheel;
}

namespace Oru::Counters {

// Keeps one row for each configured VLAN in a live table and in a snapshot table; polls the chip on
// a timer wheel, adding to the live rows what was counted since the previous poll; and answers each
// request to clear a VLAN with a copy of its live row, beside it in the snapshot table. Nothing is
// ever set back to zero.
//
// A VLAN that is flagged as the switch's own counts as absent. A VLAN that leaves loses its rows,
// and begins anew if it returns; the rows of VLANs that left while no agent ran go at the start.
//
// The first wake-up comes at now plus the larger of the helper's minimumPollInterval() and
// pollInterval, later ones after pollInterval alone. A wake-up that finds it 0 neither polls nor
// sets another: setting it back does not begin again by itself.
class VlanCountersSm : public Kel::StateMachine<VlanCountersSm, Kel::ReactorOwner> {
 public:
  // Brings the tables in step with the configuration and sets the first wake-up, before it returns.
  // Without a clock there is none. REQUIRES: bridgingConfig.
  VlanCountersSm(Kel::Ptr<Bridging::Config const> const& bridgingConfig,
                 Kel::Ptr<Bridging::VlanCountersCliReq const> const& vlanCountersCliReq,
                 Kel::Ptr<Glim::Bridging::VlanCounterDir> const& vlanCounterDir,
                 Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const& vlanCounterSnapshotDir,
                 Kel::Ptr<Wib::TimerWheel const> const& clock,
                 Kel::Ptr<OruHelper::OruVlanCountersHelper> const& platformHelper);
  ~VlanCountersSm() override;

  // Makes one with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<VlanCountersSm> VlanCountersSmIs(Params const&... params) {
    return Kel::instance<VlanCountersSm>(params...);
  }

  Kel::Ptr<Bridging::Config const> bridgingConfig() const;
  void bridgingConfigIs(Kel::Ptr<Bridging::Config const> const& config);
  Kel::Ptr<Bridging::Config const> bridgingConfigDel();

  Kel::Ptr<Bridging::VlanCountersCliReq const> vlanCountersCliReq() const;
  void vlanCountersCliReqIs(Kel::Ptr<Bridging::VlanCountersCliReq const> const& requests);
  Kel::Ptr<Bridging::VlanCountersCliReq const> vlanCountersCliReqDel();

  Kel::Ptr<Glim::Bridging::VlanCounterDir> const& vlanCounterDir() const { return _vlanCounterDir; }
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const& vlanCounterSnapshotDir() const {
    return _vlanCounterSnapshotDir;
  }

  Kel::Ptr<Wib::TimerWheel const> clock() const;
  void clockIs(Kel::Ptr<Wib::TimerWheel const> const& clock);
  Kel::Ptr<Wib::TimerWheel const> clockDel();

  Kel::Ptr<OruHelper::OruVlanCountersHelper> const& platformHelper() const {
    return _platformHelper;
  }

  // Seconds; 0 means no polling.
  Kel::Seconds pollInterval() const { return _pollInterval; }
  // From the next wake-up on. Throws Kel::RangeException for what is no period.
  void pollIntervalIs(Kel::Seconds interval);

  bool initialized() const { return _initialized; }
  void initializedIs(bool initialized) { _initialized = initialized; }

  // Tables and first wake-up, as the constructor does. REQUIRES: bridgingConfig().
  void handleInitialized();
  // All VLANs that are configured, then the live rows of those that are not.
  // REQUIRES: bridgingConfig().
  void handleVlanConfig();
  // One VLAN. REQUIRES: bridgingConfig().
  void handleVlanConfig(Bridging::VlanId vlanId);
  // The rows of a VLAN; absent ones are no matter.
  void removeGlimCollections(Bridging::VlanId vlanId);

  // A wake-up.
  void handleTime();
  // Polls all VLANs that have a live row, now. Does nothing before initialized().
  void updateCounters();
  // All requests to clear that stand.
  void handleClearCountersRequest();
  // One request, which stands or was removed. REQUIRES: initialized(), where it stands.
  void handleClearCountersRequest(Bridging::VlanId vlanId);
  // Copies the counters of the live row, as of now, into the snapshot row.
  void doTakeSnapshot(Bridging::VlanId vlanId);

  static constexpr auto kelDescription() {
    using Sm = VlanCountersSm;
    return Kel::describe(
        "Oru::Counters::VlanCountersSm",
        Kel::watchedParameter("bridgingConfig", &Sm::_bridgingConfig),
        Kel::watchedParameter("vlanCountersCliReq", &Sm::_vlanCountersCliReq),
        Kel::parameter("vlanCounterDir", &Sm::_vlanCounterDir),
        Kel::parameter("vlanCounterSnapshotDir", &Sm::_vlanCounterSnapshotDir),
        Kel::watchedParameter("clock", &Sm::_clock),
        Kel::parameter("platformHelper", &Sm::_platformHelper),
        Kel::value("pollInterval", &Sm::pollInterval, &Sm::pollIntervalIs),
        Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
        Kel::operation<Bridging::VlanId>("handleVlanConfig", &Sm::handleVlanConfig,
                                         &Sm::withoutConfig),
        Kel::operation("doTakeSnapshot", &Sm::doTakeSnapshot),
        Kel::operation<Bridging::VlanId>("handleClearCountersRequest",
                                         &Sm::handleClearCountersRequest, &Sm::notInitialized),
        Kel::operation("removeGlimCollections", &Sm::removeGlimCollections),
        Kel::operation("handleTime", &Sm::handleTime),
        Kel::operation("handleInitialized", &Sm::handleInitialized, &Sm::refusal));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelBridgingConfig;
  class KelVlanCountersCliReq;
  class KelClock;

  static std::string refusal(VlanCountersSm const& sm);
  static std::string withoutConfig(VlanCountersSm const& sm, Bridging::VlanId const&) {
    return refusal(sm);
  }
  static std::string notInitialized(VlanCountersSm const& sm, Bridging::VlanId const&);

  void addRows(Bridging::VlanId vlanId);
  void poll(Bridging::VlanId vlanId);

  Kel::Input<KelBridgingConfig, Bridging::Config const> _bridgingConfig;
  Kel::Input<KelVlanCountersCliReq, Bridging::VlanCountersCliReq const> _vlanCountersCliReq;
  Kel::Ptr<Glim::Bridging::VlanCounterDir> const _vlanCounterDir;
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const _vlanCounterSnapshotDir;
  Kel::Input<KelClock, Wib::TimerWheel const> _clock;
  Kel::Ptr<OruHelper::OruVlanCountersHelper> const _platformHelper;
  Kel::Seconds _pollInterval = 2.0;
  bool _initialized = false;
};

// Makes the state machine of an agent's VLANs, with its notifications on.
Kel::Ptr<VlanCountersSm> vlanCountersSmFactory(
    Kel::Ptr<Bridging::Config const> const& bridgingConfig,
    Kel::Ptr<Bridging::VlanCountersCliReq const> const& vlanCountersCliReq,
    Kel::Ptr<Glim::Bridging::VlanCounterDir> const& vlanCounterDir,
    Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const& vlanCounterSnapshotDir,
    Kel::Ptr<Wib::TimerWheel const> const& clock,
    Kel::Ptr<OruHelper::OruVlanCountersHelper> const& platformHelper);

}  // namespace Oru::Counters
