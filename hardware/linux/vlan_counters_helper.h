#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "counters/vlan/helper.h"
#include "hardware/linux/offset_store.h"
#include "hardware/linux/port_account.h"
#include "hardware/linux/vlan_stats.h"

namespace Hardware::Linux {

/// The VLANs of a bridge of this kernel, for the VLAN counters. The agent says which bridge that is
/// and which of its VLANs went:
///
///   helper->bridgeIs(ifindex);       // before its VLANs are configured
///   helper->vlanDel(vlanId);         // it is configured no more, and its row is gone
///
/// What is counted is octets and packets; the kernel does not tell unicast, multicast and broadcast
/// apart, and all packets count as unicast.
///
/// A VLAN's row = the kernel's count + an offset, as a port's (see `PortAccount`, which does it).
/// The offset is 0 for a VLAN that is new, so that its row begins with what the kernel has counted
/// of it; it changes when the kernel's count began anew while the VLAN stayed configured.
class VlanCountersHelper final : public OruHelper::OruVlanCountersHelper {
 public:
  /// The published row of a VLAN as it stands, or none.
  using PublishedRow = std::function<std::optional<Glim::Bridging::VlanCounter>(Bridging::VlanId)>;

  struct Parts {
    std::unique_ptr<VlanStatsSource> stats;
    /// Under the names of the VLANs' interfaces, Vlan1 to Vlan4094.
    std::unique_ptr<OffsetStore> offsets;
    PublishedRow publishedRow;
    /// The time of the agent's clock: all VLANs that are read at one time share one reading.
    std::function<Kel::Seconds()> now;
    /// See `LinkIdentity`.
    std::uint64_t generation = 0;
    /// Tells the operator.
    std::function<void(std::string const&)> say;
  };

  /// REQUIRES: every part is given.
  VlanCountersHelper(Kel::Name name, Parts parts);

  /// The VLANs are this bridge's; 0: there is no bridge, and all counts stand still.
  void bridgeIs(int ifindex);
  /// Nothing is kept of the VLAN any more.
  void vlanDel(Bridging::VlanId vlanId);
  /// Whether the VLAN's row, if it has one, is of this very bridge and goes on with its counts.
  bool continues(Bridging::VlanId vlanId) const;
  /// The VLANs of which anything is kept. Records of what is no VLAN go.
  void forEachKept(std::function<void(Bridging::VlanId)> const& visit);

  /// Whether the kernel's count was read when the VLAN was last polled. Where it was not, the row
  /// stands still, and the state machine stamps it all the same.
  bool couldRead(Bridging::VlanId vlanId) const;

  /// How often an offset could not be kept; see LinuxCountersHelper.
  std::uint64_t offsetsNotSaved() const { return _offsetsNotSaved; }

  void initializeVlanCounters(Bridging::VlanId vlanId) override;
  /// The previous sample is what the row holds: the row becomes the new one.
  void getVlanCounters(Bridging::VlanId vlanId, Kel::Ptr<OruTypes::VlanCounters> newCounters,
                       Kel::Ptr<OruTypes::VlanCounters> prevCounters) override;

 private:
  struct Vlan {
    Bridging::VlanCounts base;  // what the row held when the account began
    PortAccount account;
    bool wasRead = false;
  };
  LinkIdentity identity() const { return {_parts.generation, _bridge}; }
  VlanKernelCounts const* read(Bridging::VlanId vlanId);

  Parts const _parts;
  int _bridge = 0;
  std::map<Bridging::VlanId, Vlan> _vlans;
  std::uint64_t _offsetsNotSaved = 0;
  bool _readFails = false;
};

}  // namespace Hardware::Linux
