// The VLANs as the library sees them, their rows, and the state machine that counts them.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "agent/log.h"
#include "agent/tables.h"
#include "counters/vlan/helper.h"
#include "counters/vlan/vlan_counters_sm.h"
#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/kel/clock.h"
#include "platform/wib/timer_wheel.h"

namespace Agent {

class Vlans {
 public:
  // The tables must outlive it. A poll every `period` seconds.
  Vlans(Tables const& tables, Kel::Ptr<Kel::Clock> const& clock, Kel::Seconds period);

  // For the chip, which says what VLANs there are.

  // A table that turns out to be damaged is given up by any of these, and the next heartbeat of the
  // tables says so.

  // A VLAN is there and described so; told again when that changes. False: there is no room for one
  // of its rows, and it is not counted; or it goes on being counted as it was described before.
  bool vlanIs(Bridging::VlanDescription const& description);
  // Those that are not counted for want of room, and why the first of them is not.
  std::size_t withoutRoom() const { return _withoutRoom.size(); }
  std::string whyNoRoom() const;
  // Whether any is to be told again for want of room, counted or not.
  bool areRefused() const { return !_withoutRoom.empty() || !_countedWithoutRoom.empty(); }
  // Its rows go.
  void vlanDel(Bridging::VlanId vlanId);
  bool isConfigured(Bridging::VlanId vlanId) const;
  // Rows that are of nothing which the chip counts now.
  // REQUIRES: the VLAN is not configured.
  void dropRows(Bridging::VlanId vlanId);
  void dropAllRows();
  // The VLANs with a live row.
  std::vector<Bridging::VlanId> withRows() const;

  // For the host.

  // Rows of VLANs that were not told go; then it starts counting, with a first poll. What the chip
  // throws is told: if it was while the VLANs were prepared, counters() stays null, and start() is
  // to be called again; if it was while they were polled, the next poll is that of the period.
  // REQUIRES: all VLANs that there are were told; it was not started.
  void start(Kel::Ptr<OruHelper::OruVlanCountersHelper> const& helper);
  // Polls if there are new VLANs and it was started: they show true counts from the start, and not
  // only after a period. A poll that fails is told, and the next is that of the period. Where
  // such a poll was just made, the next has to wait: answers for how many seconds, or kNever.
  Kel::Seconds pollNews();
  // Polls all VLANs now.
  // REQUIRES: it was started.
  void poll() { _counters->updateCounters(); }

  Kel::Ptr<Bridging::VlanCountersCliReq> const& requests() const { return _requests; }
  // Null before the start.
  Kel::Ptr<Oru::Counters::VlanCountersSm> const& counters() const { return _counters; }

 private:
  void makeRows(Bridging::VlanDescription const& description);
  void dropRowsOfOthers();
  template <class Poll>
  void tryToPoll(Poll const& poll);

  Kel::Ptr<Glim::Bridging::VlanCounterDir> const _live;
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const _snapshots;
  Kel::Ptr<Bridging::AllVlanDescription> const _descriptions;
  Kel::Seconds const _period;
  Kel::Ptr<Wib::TimerWheel> const _wheel;
  Kel::Ptr<Bridging::Config> const _config = Kel::make<Bridging::Config>();
  Kel::Ptr<Bridging::VlanCountersCliReq> const _requests =
      Kel::make<Bridging::VlanCountersCliReq>();
  Kel::Ptr<Oru::Counters::VlanCountersSm> _counters;
  std::map<Bridging::VlanId, std::string> _withoutRoom;  // and why
  std::set<Bridging::VlanId> _countedWithoutRoom;  // a row is missing, or describes it as it was
  SayOnce _sayWhyNotStarted;
  bool _news = false;
  Kel::Seconds _newsPolled = -1.0;  // before any time
};

}  // namespace Agent
