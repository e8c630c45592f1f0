// Clears the counters of VLANs as the command line asks for it: what was counted up to now is shown
// no more, and what comes after it is.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "counters/vlan/vlan_counters_sm.h"
#include "platform/bridging/vlan_counters_cli_req.h"

namespace Agent {

class VlanClearing {
 public:
  // Of an agent that counts no VLANs: every clear is refused.
  VlanClearing() = default;
  // Whether the chip had counts of the VLAN when it was last polled: its row is stamped all the
  // same.
  using CouldRead = std::function<bool(Bridging::VlanId)>;

  // `requests` are those that `counters` watches. REQUIRES: couldRead.
  VlanClearing(Kel::Ptr<Oru::Counters::VlanCountersSm> const& counters,
               Kel::Ptr<Bridging::VlanCountersCliReq> const& requests, CouldRead couldRead)
      : _counters(counters), _requests(requests), _couldRead(std::move(couldRead)) {}

  // Both poll first, and then clear, so that traffic before the call is not shown as traffic after
  // it. REQUIRES: the clock of the counters was brought to the present since the request for it
  // came; a chip may answer from one reading as long as the clock stands.
  //
  // No request stands afterwards: were the requests watched anew, those that stand would be carried
  // out once more, and later counts be taken for earlier ones.
  //
  // Throw ControlError: notSupported where no VLANs are counted; wrongArguments where a text is no
  // VLAN id, and unknownVlan where the VLAN has no row: nothing was cleared; failed where not all
  // could be.

  // Answers how many there are.
  std::size_t all();
  // VLAN ids, no ranges. Answers them in the order given, each once.
  std::vector<std::string> these(std::vector<std::string> const& ids);

 private:
  void requireCounted() const;
  bool isThere(Bridging::VlanId vlanId) const;
  void clear(std::vector<Bridging::VlanId> const& vlanIds);
  void poll(std::vector<Bridging::VlanId> const& vlanIds);
  void request(Bridging::VlanId vlanId);
  bool isCleared(Bridging::VlanId vlanId) const;

  Kel::Ptr<Oru::Counters::VlanCountersSm> _counters;
  Kel::Ptr<Bridging::VlanCountersCliReq> _requests;
  CouldRead _couldRead;
};

}  // namespace Agent
