#include "counters/vlan/vlan_counters_sm.h"

#include <algorithm>

#include "counters/pollers/unit.h"
#include "counters/pollers/wake_ups.h"
#include "counters/vlan/helper.h"
#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/kel/walk.h"
#include "platform/wib/timer_wheel.h"

namespace Oru::Counters {

using Glim::Bridging::VlanCounter;

class VlanCountersSm::KelBridgingConfig final
    : public Kel::Reactor<VlanCountersSm, Bridging::Config const> {
 public:
  using Bridging::Config::NotifieeConst::onVlanConfig;
  using Reactor::Reactor;
  void onVlanConfig(Bridging::VlanId vlanId) override {
    tell(&VlanCountersSm::handleVlanConfig, vlanId);
  }
  void onVlanConfigkelImmediate() override { tell(&VlanCountersSm::handleVlanConfig); }
  void resync() override { onVlanConfigkelImmediate(); }
};

class VlanCountersSm::KelVlanCountersCliReq final
    : public Kel::Reactor<VlanCountersSm, Bridging::VlanCountersCliReq const> {
 public:
  using Bridging::VlanCountersCliReq::NotifieeConst::onClearCountersRequest;
  using Reactor::Reactor;
  void onClearCountersRequest(Bridging::VlanId vlanId) override {
    tell(&VlanCountersSm::handleClearCountersRequest, vlanId);
  }
  void onClearCountersRequestkelImmediate() override {
    tell(&VlanCountersSm::handleClearCountersRequest);
  }
  void resync() override { onClearCountersRequestkelImmediate(); }
};

class VlanCountersSm::KelClock final : public Kel::Reactor<VlanCountersSm, Wib::TimerWheel const> {
 public:
  using Reactor::Reactor;
  void onTime() override { tell(&VlanCountersSm::handleTime); }
  void resync() override { onTime(); }
};

constinit Kel::TypeNode const VlanCountersSm::_kelType = Kel::typeNode<VlanCountersSm>();

VlanCountersSm::VlanCountersSm(
    Kel::Ptr<Bridging::Config const> const& bridgingConfig,
    Kel::Ptr<Bridging::VlanCountersCliReq const> const& vlanCountersCliReq,
    Kel::Ptr<Glim::Bridging::VlanCounterDir> const& vlanCounterDir,
    Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const& vlanCounterSnapshotDir,
    Kel::Ptr<Wib::TimerWheel const> const& clock,
    Kel::Ptr<OruHelper::OruVlanCountersHelper> const& platformHelper)
    : _bridgingConfig(*this, bridgingConfig),
      _vlanCountersCliReq(*this, vlanCountersCliReq),
      _vlanCounterDir(vlanCounterDir),
      _vlanCounterSnapshotDir(vlanCounterSnapshotDir),
      _clock(*this, clock),
      _platformHelper(platformHelper) {
  handleInitialized();
}

VlanCountersSm::~VlanCountersSm() = default;

Kel::Ptr<Bridging::Config const> VlanCountersSm::bridgingConfig() const {
  return _bridgingConfig.notifier();
}
void VlanCountersSm::bridgingConfigIs(Kel::Ptr<Bridging::Config const> const& config) {
  _bridgingConfig.notifierIs(*this, config);
}
Kel::Ptr<Bridging::Config const> VlanCountersSm::bridgingConfigDel() {
  return _bridgingConfig.notifierDel(*this);
}
Kel::Ptr<Bridging::VlanCountersCliReq const> VlanCountersSm::vlanCountersCliReq() const {
  return _vlanCountersCliReq.notifier();
}
void VlanCountersSm::vlanCountersCliReqIs(
    Kel::Ptr<Bridging::VlanCountersCliReq const> const& requests) {
  _vlanCountersCliReq.notifierIs(*this, requests);
}
Kel::Ptr<Bridging::VlanCountersCliReq const> VlanCountersSm::vlanCountersCliReqDel() {
  return _vlanCountersCliReq.notifierDel(*this);
}
Kel::Ptr<Wib::TimerWheel const> VlanCountersSm::clock() const { return _clock.notifier(); }
void VlanCountersSm::clockIs(Kel::Ptr<Wib::TimerWheel const> const& clock) {
  _clock.notifierIs(*this, clock);
}
Kel::Ptr<Wib::TimerWheel const> VlanCountersSm::clockDel() { return _clock.notifierDel(*this); }

void VlanCountersSm::pollIntervalIs(Kel::Seconds interval) {
  Kel::requirePeriod(interval);
  _pollInterval = interval;
}

void VlanCountersSm::handleInitialized() {
  if (auto t = trace(8)) t << "OruVlanCountersSm::handleInitialized";
  handleVlanConfig();
  initializedIs(true);
  if (pollInterval() == 0.0) return;
  Kel::Seconds const first = std::max(platformHelper()->minimumPollInterval(), pollInterval());
  if (_clock) _clock->timeMinIs(clock()->time() + first);
}

void VlanCountersSm::handleVlanConfig() {
  if (auto t = trace(8)) t << "OruVlanCountersSm::handleVlanConfig";
  auto const config = bridgingConfig();
  require(bool(config), "bridgingConfig()");
  for (auto const& [vlanId, entry] : Kel::walk(config->vlanConfig())) {
    handleVlanConfig(vlanId);
    // The helper put another in its place, which was walked then, or none.
    if (bridgingConfig() != config) return;
  }
  vlanCounterDir()->forEach([&](VlanCounter const& row) {
    if (!config->vlanConfig().contains(row.vlanId)) removeGlimCollections(row.vlanId);
  });
}

void VlanCountersSm::handleVlanConfig(Bridging::VlanId vlanId) {
  if (auto t = trace(8)) t << "OruVlanCountersSm::handleVlanConfig VLAN" << vlanId;
  require(bool(bridgingConfig()), "bridgingConfig()");
  auto const& configured = bridgingConfig()->vlanConfig();
  auto const entry = configured.find(vlanId);
  if (entry == configured.end() || entry->second.internal) return removeGlimCollections(vlanId);
  if (auto t = trace(7)) t << "Adding VLAN" << vlanId;
  addRows(vlanId);
  platformHelper()->initializeVlanCounters(vlanId);
}

void VlanCountersSm::addRows(Bridging::VlanId vlanId) {
  VlanCounter const empty(vlanId);
  if (vlanCounterDir()->vlanCounter(vlanId) == empty) {
    if (auto t = trace(6)) t << "Adding VLAN counter glim collections";
    vlanCounterDir()->vlanCounterIs(empty);
  }
  if (vlanCounterSnapshotDir()->vlanCounterSnapshot(vlanId) == empty) {
    if (auto t = trace(6)) t << "Adding VLAN counter snapshot glim collections";
    vlanCounterSnapshotDir()->vlanCounterSnapshotIs(empty);
  }
}

void VlanCountersSm::removeGlimCollections(Bridging::VlanId vlanId) {
  if (auto t = trace(8)) t << "OruVlanCountersSm::removeGlimCollections Deleting VLAN" << vlanId;
  vlanCounterDir()->vlanCounterDel(vlanId);
  vlanCounterSnapshotDir()->vlanCounterSnapshotDel(vlanId);
}

void VlanCountersSm::handleTime() {
  if (!initialized()) return;
  if (pollInterval() == 0.0) return;  // stops for good: nothing re-arms the wheel
  pollAndSetNext([this] { updateCounters(); },
                 [this] {
                   if (_clock) _clock->timeMinIs(clock()->time() + pollInterval());
                 });
}

void VlanCountersSm::updateCounters() {
  if (auto t = trace(8)) t << "OruVlanCountersSm::updateCounters";
  if (!initialized()) return;
  vlanCounterDir()->forEach([this](VlanCounter const& row) { poll(row.vlanId); });
}

void VlanCountersSm::poll(Bridging::VlanId vlanId) {
  Kel::Seconds const now = clock()->time();
  auto const newCounters = Kel::make<OruTypes::VlanCounters>(vlanId);
  auto const prevCounters = Kel::make<OruTypes::VlanCounters>(vlanId);
  platformHelper()->getVlanCounters(vlanId, newCounters, prevCounters);
  if (!vlanCounterDir()->contains(vlanId)) return;  // the VLAN went meanwhile
  auto const slot = vlanCounterDir()->directWrite(vlanId);
  slot->counts = slot->counts + (newCounters->counts() - prevCounters->counts());
  slot->lastUpdate = now;
  vlanCounterDir()->vlanCounterCommit(slot);
}

void VlanCountersSm::handleClearCountersRequest() {
  auto const requests = vlanCountersCliReq();
  if (!requests) return;
  for (auto const& [vlanId, flag] : Kel::walk(requests->clearCountersRequest()))
    handleClearCountersRequest(vlanId);
}

void VlanCountersSm::handleClearCountersRequest(Bridging::VlanId vlanId) {
  if (auto t = trace(8)) t << "OruVlanCountersSm::handleClearCountersRequest VLAN" << vlanId;
  auto const requests = vlanCountersCliReq();
  if (requests && requests->clearCountersRequest().contains(vlanId)) {
    require(initialized(), "initialized()");
    doTakeSnapshot(vlanId);
  } else if (auto t = trace(4)) {
    t << "VLAN" << vlanId << " deleted";
  }
}

void VlanCountersSm::doTakeSnapshot(Bridging::VlanId vlanId) {
  if (auto t = trace(8)) t << "OruVlanCountersSm::doTakeSnapshot";
  Kel::Seconds const now = clock()->time();
  auto const slot = vlanCounterSnapshotDir()->directWrite(vlanId);
  slot->counts = vlanCounterDir()->vlanCounter(vlanId).counts;
  if (!vlanCounterDir()->attached()) return;  // lost, now or before: what it had is not zero
  slot->lastUpdate = now;
  vlanCounterSnapshotDir()->vlanCounterSnapshotCommit(slot);
}

std::string VlanCountersSm::refusal(VlanCountersSm const& sm) {
  return sm.bridgingConfig() ? "" : "no configuration of VLANs is watched";
}

std::string VlanCountersSm::notInitialized(VlanCountersSm const& sm, Bridging::VlanId const&) {
  return sm.initialized() ? "" : "the VLAN counters are not initialized";
}

Kel::Ptr<VlanCountersSm> vlanCountersSmFactory(
    Kel::Ptr<Bridging::Config const> const& bridgingConfig,
    Kel::Ptr<Bridging::VlanCountersCliReq const> const& vlanCountersCliReq,
    Kel::Ptr<Glim::Bridging::VlanCounterDir> const& vlanCounterDir,
    Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const& vlanCounterSnapshotDir,
    Kel::Ptr<Wib::TimerWheel const> const& clock,
    Kel::Ptr<OruHelper::OruVlanCountersHelper> const& platformHelper) {
  return VlanCountersSm::VlanCountersSmIs(bridgingConfig, vlanCountersCliReq, vlanCounterDir,
                                          vlanCounterSnapshotDir, clock, platformHelper);
}

}  // namespace Oru::Counters
