// The VLANs of a kernel whose bridges and counts a test makes up.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

#include "agent/kernel_vlans.h"
#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/hardware/linux/vlan_stand_ins.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {

class KernelVlansTest : public testing::Test {
 protected:
  using VlanId = Bridging::VlanId;
  using Bridge = Hardware::Linux::Bridge;
  using StoredOffsets = Hardware::Linux::StoredOffsets;
  using VlanCountersHelper = Hardware::Linux::VlanCountersHelper;
  static constexpr int kBridge = 5, kPort = 7, kPort2 = 8;

  explicit KernelVlansTest(std::uint32_t maxRows = 16)
      : tables(place.directory().string(), {.maxRows = maxRows}) {}

  // Another agent, over the tables as they stand; the kernel and its bridges are the same.
  void agentComes(VlanOptions const& options = {}) {
    sut.reset();
    loop.emplace();
    vlans = std::make_unique<Vlans>(tables, time.clock(), 2.0);
    auto stand = std::make_unique<Hardware::Linux::Test::BridgesStandIn>(options.bridge);
    bridges = stand.get();
    auto store = std::make_unique<Hardware::Linux::Test::SharedStore<StoredOffsets>>(offsets);
    offsetStore = store.get();
    auto const rows = tables.vlanCounters();
    auto const helper = Kel::make<VlanCountersHelper>(
        Kel::Name("test"),
        VlanCountersHelper::Parts{
            .stats = std::make_unique<Hardware::Linux::Test::VlanStatsStandIn>(kernel),
            .offsets = std::move(store),
            .publishedRow = [rows](VlanId vlanId) -> std::optional<Glim::Bridging::VlanCounter> {
              return rows->contains(vlanId) ? std::optional(rows->vlanCounter(vlanId))
                                            : std::nullopt;
            },
            .now = [this] { return time.now(); },
            .generation = 1,
            .say = [](auto const&) {}});
    sut.emplace(options, KernelVlans::Parts{std::move(stand), helper}, *vlans);
  }
  // As the host does.
  void starts() {
    sut->start(*loop);
    startVlans();
  }
  void turn() {
    sut->turn();
    startVlans();
    vlans->pollNews();
  }
  void startVlans() {
    if (sut->areTold() && !vlans->counters()) vlans->start(sut->helper());
  }
  void bridgeIs(std::string const& name = "br0", bool counts = true, bool perPort = false) {
    bridges->all.bridgeIs({.ifindex = kBridge,
                           .name = name,
                           .filters = true,
                           .counts = counts,
                           .countsPerPort = perPort});
  }
  void portIsIn(std::initializer_list<std::size_t> ids, int port = kPort) {
    bridges->all.memberIs(port, kBridge, Hardware::Linux::Test::vlanSet(ids));
  }
  // Its news is read.
  void news() {
    loop->run([this] {
      loop->stop();
      turn();
      return 0.0;
    });
  }
  void kernelCounts(std::uint16_t vlan, std::uint64_t octets, int bridge = kBridge) {
    kernel.counts[{bridge, vlan}] = {.rxOctets = octets, .rxPkts = 1, .txOctets = 0, .txPkts = 0};
  }
  std::uint64_t octets(std::uint64_t id) {
    return tables.vlanCounters()->vlanCounter(VlanId(id)).counts.inOctets;
  }
  std::vector<std::uint64_t> counted() {
    std::vector<std::uint64_t> all;
    for (VlanId const vlanId : vlans->withRows()) all.push_back(vlanId.value());
    std::sort(all.begin(), all.end());
    return all;
  }
  std::uint64_t unsupported(std::uint64_t id) {
    return tables.vlanDescriptions()->lookup(VlanId(id)).unsupported;
  }
  std::vector<std::uint64_t> kept() {
    std::vector<std::uint64_t> all;
    sut->helper()->forEachKept([&](VlanId vlanId) { all.push_back(vlanId.value()); });
    std::sort(all.begin(), all.end());
    return all;
  }
  // VLANs 10 and 20 of br0, 100 and 200 octets of which are in the rows.
  void agentWithTwoVlans() {
    agentComes();
    bridgeIs();
    portIsIn({10, 20});
    kernelCounts(10, 100);
    kernelCounts(20, 200);
    starts();
    turn();
  }
  static std::string said(std::function<void()> const& when) {
    testing::internal::CaptureStderr();
    when();
    return testing::internal::GetCapturedStderr();
  }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  Tables tables;
  std::optional<EventLoop> loop;
  Hardware::Linux::Test::VlanKernel kernel;
  Hardware::Linux::MemoryOffsetStore offsets;
  std::unique_ptr<Vlans> vlans;
  Hardware::Linux::Test::BridgesStandIn* bridges = nullptr;
  Hardware::Linux::Test::SharedStore<StoredOffsets>* offsetStore = nullptr;
  std::optional<KernelVlans> sut;
};

}  // namespace Agent
