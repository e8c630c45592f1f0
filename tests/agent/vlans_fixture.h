// VLANs, their rows and their state machine, of a chip that is made up, in virtual time.
#pragma once

#include "agent/vlans.h"
#include "tests/agent/counted_vlans.h"
#include "tests/support/virtual_time.h"

namespace Agent {

class VlansTest : public testing::Test {
 protected:
  using VlanDescription = Bridging::VlanDescription;
  using VlanId = Bridging::VlanId;
  static constexpr Kel::Seconds kPeriod = 3.0;

  explicit VlansTest(std::uint32_t maxRows = 16, Kel::Seconds period = kPeriod)
      : tables(place.directory().string(), {.maxRows = maxRows}),
        sut(tables, time.clock(), period) {}

  static VlanDescription described(VlanId vlanId, char const* bridge = "br0") {
    return {.vlanId = vlanId, .bridge = std::string_view(bridge), .name = {}, .unsupported = 0};
  }
  bool hasRows(VlanId vlanId) {
    bool const has = tables.vlanCounters()->contains(vlanId);
    EXPECT_EQ(tables.vlanCounterSnapshots()->contains(vlanId), has) << vlanId;
    EXPECT_EQ(tables.vlanDescriptions()->contains(vlanId), has) << vlanId;
    return has;
  }
  // As an agent before left it.
  void leaveRows(VlanId vlanId, std::uint64_t octets) {
    Glim::Bridging::VlanCounter row(vlanId);
    row.counts.inOctets = octets;
    tables.vlanCounters()->vlanCounterIs(row);
    tables.vlanCounterSnapshots()->vlanCounterSnapshotIs(row);
    tables.vlanDescriptions()->descriptionIs(described(vlanId));
  }
  Glim::Bridging::VlanCounter live(VlanId vlanId) {
    return tables.vlanCounters()->vlanCounter(vlanId);
  }
  std::uint64_t clearedOctets(VlanId vlanId) {
    return tables.vlanCounterSnapshots()->vlanCounterSnapshot(vlanId).counts.inOctets;
  }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  Tables tables;
  VlanId const v10{10u}, v20{20u}, v30{30u};
  Kel::Ptr<CountingChip> chip = Kel::make<CountingChip>();
  Vlans sut;
};

}  // namespace Agent
