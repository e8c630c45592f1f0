#include "agent/kernel_vlans.h"

#include <set>
#include <utility>

#include "agent/log.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/linux/network_generation.h"

namespace Agent {
namespace {

using Bridging::VlanDescription;
using Bridging::VlanId;
using Hardware::Linux::GlimVlanOffsetStore;
using Hardware::Linux::VlanCountersHelper;

// Packets of all kinds count as unicast, as with interfaces whose packets are not told apart.
std::uint64_t uncounted() {
  std::uint64_t set = 0;
  for (char const* const name :
       {"inMulticastPkts", "inBroadcastPkts", "outMulticastPkts", "outBroadcastPkts"})
    set |= Bridging::vlanCounterBit(name);
  return set;
}

Kel::Ptr<VlanCountersHelper> makeHelper(Tables& tables, Kel::Ptr<Kel::Clock> const& clock) {
  auto const rows = tables.vlanCounters();
  return Kel::make<VlanCountersHelper>(
      Kel::Name("linux"),
      VlanCountersHelper::Parts{
          .stats = std::make_unique<Hardware::Linux::VlanStats>(),
          .offsets = std::make_unique<GlimVlanOffsetStore>(
              tables.add<GlimVlanOffsetStore::Table>(Hardware::Linux::kVlanOffsets, kMaxVlans)),
          .publishedRow = [rows](VlanId vlanId) -> std::optional<Glim::Bridging::VlanCounter> {
            Glim::Bridging::VlanCounter row;
            bool found = false;
            rows->safeLookup(vlanId, found, row);
            return found ? std::optional(row) : std::nullopt;
          },
          .now = [clock] { return clock->time(); },
          .generation = Hardware::Linux::networkGeneration(),
          .say = &say});
}

}  // namespace

KernelVlans::Parts KernelVlans::kernelParts(VlanOptions const& options, Tables& tables,
                                            Kel::Ptr<Kel::Clock> const& clock) {
  return {.bridges = std::make_unique<Hardware::Linux::BridgeMonitor>(options.bridge),
          .helper = makeHelper(tables, clock)};
}

KernelVlans::KernelVlans(VlanOptions const& options, Parts parts, Vlans& vlans)
    : _options(options),
      _vlans(vlans),
      _bridges(std::move(parts.bridges)),
      _helper(std::move(parts.helper)) {}

void KernelVlans::start(EventLoop& loop) {
  _loop = &loop;
  takeNews();
}

// An agent whose bridges cannot be listed counts its interfaces all the same, and tries on.
void KernelVlans::takeNews() {
  auto const error = _isWatching ? _bridges->poll() : _bridges->start();
  if (!_isWatching && _bridges->fd() >= 0) {
    _isWatching = true;
    _loop->readableIs(_bridges->fd(), [this] { takeNews(); });
  }
  if (error && !_newsIsDue) say("cannot read news of bridges, trying on: " + error.message());
  _newsIsDue = static_cast<bool>(error);
  if (!error) follow();
}

void KernelVlans::turn() {
  if (_newsIsDue) takeNews();
  bool const offsetsFail = _helper->offsetsNotSaved() != 0;
  if (offsetsFail && !_offsetsFail)
    say("the offsets of VLANs could not be kept; should the agent end now, counts may double. Is "
        "the tmpfs of the tables full?");
  _offsetsFail = offsetsFail;
}

// What is out of date is told when it no longer is.
void KernelVlans::retellRefused() {
  if (areTold() && !_newsIsDue) follow();
}

void KernelVlans::follow() {
  auto const gone = _bridges->takeGone();
  for (std::size_t id = VlanId::min; id <= VlanId::max; ++id)
    if (gone.test(id)) drop(VlanId(id));
  Bridge const* const bridge = _bridges->vlans().served();
  _helper->bridgeIs(bridge ? bridge->ifindex : 0);
  if (std::exchange(_isFirst, false)) dropStrangers();
  if (bridge)
    describe(*bridge);
  else
    _sayOnce(_options.bridge.empty() ? ""
                                     : "VLANs are not counted: there is no bridge " +
                                           _options.bridge + " that filters by VLANs");
}

// Rows that an agent before left, of another bridge or of none, or without what they need to go on.
void KernelVlans::dropStrangers() {
  for (VlanId const vlanId : _vlans.withRows())
    if (!_helper->continues(vlanId)) _vlans.dropRows(vlanId);
  auto const& there = _bridges->vlans().vlans();
  auto const rows = _vlans.withRows();
  std::set<VlanId> const kept(rows.begin(), rows.end());
  _helper->forEachKept([&](VlanId vlanId) {
    if (!there.test(vlanId.value()) || !kept.contains(vlanId)) _helper->vlanDel(vlanId);
  });
}

void KernelVlans::describe(Bridge const& bridge) {
  std::uint64_t const unsupported = isCounted(bridge) ? uncounted() : Bridging::kNoVlanCounters;
  _helper->bridgeIs(bridge.ifindex);
  auto const& there = _bridges->vlans().vlans();
  for (std::size_t id = VlanId::min; id <= VlanId::max; ++id) {
    if (!there.test(id)) continue;
    VlanDescription const description{.vlanId = VlanId(id),
                                      .bridge = std::string_view(bridge.name),
                                      .name = {},
                                      .unsupported = unsupported};
    auto const at = _told.find(description.vlanId);
    if (at != _told.end() && at->second == description) continue;
    if (_vlans.vlanIs(description)) _told.insert_or_assign(description.vlanId, description);
  }
}

bool KernelVlans::isCounted(Bridge const& bridge) {
  std::string const of = "the VLANs of bridge " + bridge.name;
  if (bridge.countsPerPort) {
    _sayOnce(of + " are not counted: it counts them for each port apart (vlan_stats_per_port)");
    return false;
  }
  if (bridge.counts) {
    _sayOnce("");
    return true;
  }
  if (!_options.statistics) {
    _sayOnce(
        of +
        " are not counted: that is switched off (vlan_stats_enabled); statistics = true in the "
        "section [vlans] of the configuration lets the agent switch it on");
    return false;
  }
  if (auto const error = _bridges->switchVlanStatsOn(bridge.ifindex)) {
    _sayOnce(of + " are not counted: that cannot be switched on: " + error.message());
    return false;
  }
  _sayOnce("switched the counting of " + of + " on");
  return true;
}

void KernelVlans::drop(VlanId vlanId) {
  _told.erase(vlanId);
  _vlans.vlanDel(vlanId);
  _helper->vlanDel(vlanId);
}

}  // namespace Agent
