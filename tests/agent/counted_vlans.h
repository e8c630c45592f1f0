// The VLAN counters of an agent, whose chip is made up, in virtual time.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <set>

#include "counters/vlan/helper.h"
#include "counters/vlan/vlan_counters_sm.h"
#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/wib/timer_wheel.h"
#include "tests/support/temporary_tables.h"

namespace Agent {

// A chip that counts what a test tells it. What it cannot read stands still.
class CountingChip : public OruHelper::OruVlanCountersHelper {
 public:
  CountingChip() : OruVlanCountersHelper("vlans") {}
  void getVlanCounters(Bridging::VlanId vlanId, Kel::Ptr<OruTypes::VlanCounters> newCounters,
                       Kel::Ptr<OruTypes::VlanCounters> prevCounters) override {
    if (onPoll) onPoll(vlanId);
    prevCounters->countsIs(_polled[vlanId]);
    if (!unreadable.contains(vlanId)) _polled[vlanId] = counts[vlanId];
    newCounters->countsIs(_polled[vlanId]);
  }
  void initializeVlanCounters(Bridging::VlanId vlanId) override {
    if (onInitialize) onInitialize(vlanId);
    ++initialized[vlanId];
  }
  Kel::Seconds minimumPollInterval() override {
    ++askedForItsMinimum;
    return 0.0;
  }

  std::map<Bridging::VlanId, Bridging::VlanCounts> counts;
  std::set<Bridging::VlanId> unreadable;
  std::function<void(Bridging::VlanId)> onPoll, onInitialize;
  std::map<Bridging::VlanId, int> initialized;  // how often
  int askedForItsMinimum = 0;

 private:
  std::map<Bridging::VlanId, Bridging::VlanCounts> _polled;
};

class CountedVlans : public testing::Test {
 protected:
  static constexpr Kel::Seconds kNow = 1000.0;

  // VLANs 10 and 20, which were not polled yet, and 7 octets that came in on each.
  CountedVlans() {
    wheel->timeIs(kNow);
    for (Bridging::VlanId const vlanId : {v10, v20}) config->vlanConfigIs({vlanId});
    counters = Oru::Counters::vlanCountersSmFactory(config, requests, live, snapshot, wheel, chip);
    chip->counts[v10].inOctets = chip->counts[v20].inOctets = 7;
    later(0.5);
  }
  void later(Kel::Seconds seconds) { wheel->timeIs(wheel->time() + seconds); }
  std::uint64_t octets(Bridging::VlanId vlanId) {
    return live->vlanCounter(vlanId).counts.inOctets;
  }
  std::function<bool(Bridging::VlanId)> couldRead() {
    return [this](Bridging::VlanId vlanId) { return !chip->unreadable.contains(vlanId); };
  }
  Glim::Bridging::VlanCounter cleared(Bridging::VlanId vlanId) {
    return snapshot->vlanCounterSnapshot(vlanId);
  }

  Bridging::VlanId const v10{10u}, v20{20u};
  Support::TemporaryTables place;
  Kel::Ptr<Bridging::Config> config = Kel::make<Bridging::Config>();
  Kel::Ptr<Bridging::VlanCountersCliReq> requests = Kel::make<Bridging::VlanCountersCliReq>();
  Kel::Ptr<Glim::Bridging::VlanCounterDir> live =
      place.table<Glim::Bridging::VlanCounterDir>(Bridging::kVlanCounters);
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> snapshot =
      place.table<Glim::Bridging::VlanCounterSnapshotDir>(Bridging::kVlanCounterSnapshots);
  Kel::Ptr<Wib::TimerWheel> wheel = Kel::make<Wib::TimerWheel>();
  Kel::Ptr<CountingChip> chip = Kel::make<CountingChip>();
  Kel::Ptr<Oru::Counters::VlanCountersSm> counters;
};

}  // namespace Agent
