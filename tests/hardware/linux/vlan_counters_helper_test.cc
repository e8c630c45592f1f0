#include "hardware/linux/vlan_counters_helper.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "hardware/linux/glim_offset_store.h"
#include "tests/support/published_schema.h"

namespace Hardware::Linux {
namespace {

using Bridging::VlanCounts;
using Bridging::VlanId;

constexpr int kBridge = 5;
VlanId const kVlan(10);

class StatsStandIn final : public VlanStatsSource {
 public:
  explicit StatsStandIn(VlanCountsByBridge& counts, std::error_code& error)
      : counts_(counts), error_(error) {}
  std::error_code refresh(double) override { return error_; }
  VlanKernelCounts const* find(int bridge, std::uint16_t vlan) const override {
    auto const at = counts_.find({bridge, vlan});
    return error_ || at == counts_.end() ? nullptr : &at->second;
  }

 private:
  VlanCountsByBridge& counts_;
  std::error_code& error_;
};

// Behind one store of offsets, as the agents of one machine.
class SharedStore final : public OffsetStore {
 public:
  explicit SharedStore(MemoryOffsetStore& store) : store_(store) {}
  std::optional<StoredOffsets> load(Pekt::IntfId const& id) override { return store_.load(id); }
  bool save(Pekt::IntfId const& id, StoredOffsets const& offsets) override {
    return store_.save(id, offsets);
  }
  void erase(Pekt::IntfId const& id) override { store_.erase(id); }
  void forEach(std::function<void(Pekt::IntfId const&)> const& visit) override {
    store_.forEach(visit);
  }

 private:
  MemoryOffsetStore& store_;
};

class VlanCountersHelperTest : public testing::Test {
 protected:
  VlanCountersHelperTest() { agentStarts(); }

  void agentStarts(int bridge = kBridge) {
    sut = Kel::make<VlanCountersHelper>(
        Kel::Name("test"), VlanCountersHelper::Parts{
                               .stats = std::make_unique<StatsStandIn>(kernel, error),
                               .offsets = std::make_unique<SharedStore>(offsets),
                               .publishedRow = [this](VlanId) { return row; },
                               .now = [] { return 1.0; },
                               .generation = 1,
                               .say = [this](std::string const& text) { said.push_back(text); }});
    sut->bridgeIs(bridge);
    sut->initializeVlanCounters(kVlan);
  }
  void kernelCounts(std::uint64_t in, std::uint64_t out, int bridge = kBridge) {
    kernel[{bridge, 10}] = {
        .rxOctets = in * 100, .rxPkts = in, .txOctets = out * 100, .txPkts = out};
  }
  // As the state machine does.
  void poll() {
    auto const now = Kel::make<OruTypes::VlanCounters>(kVlan);
    auto const before = Kel::make<OruTypes::VlanCounters>(kVlan);
    sut->getVlanCounters(kVlan, now, before);
    row->counts = row->counts + (now->counts() - before->counts());
  }
  void expectRow(std::uint64_t in, std::uint64_t out) {
    VlanCounts expected;
    expected.inOctets = in * 100;
    expected.inUcastPkts = in;
    expected.outOctets = out * 100;
    expected.outUcastPkts = out;
    EXPECT_EQ(row->counts, expected);
  }

  VlanCountsByBridge kernel;
  std::error_code error;
  MemoryOffsetStore offsets;
  std::optional<Glim::Bridging::VlanCounter> row{Glim::Bridging::VlanCounter(kVlan)};
  std::vector<std::string> said;
  Kel::Ptr<VlanCountersHelper> sut;
};

TEST_F(VlanCountersHelperTest, ARowIsWhatTheKernelCounts) {
  kernelCounts(40, 80);
  poll();
  expectRow(40, 80);
  kernelCounts(50, 100);
  poll();
  poll();
  expectRow(50, 100);
}

TEST_F(VlanCountersHelperTest, AnotherAgentGoesOnWithTheRow) {
  kernelCounts(40, 80);
  poll();
  kernelCounts(45, 90);
  agentStarts();
  EXPECT_TRUE(sut->continues(kVlan));
  poll();
  expectRow(45, 90);
}

TEST_F(VlanCountersHelperTest, ACountThatBeganAnewExtendsTheTotalOverRestartsToo) {
  kernelCounts(40, 80);
  poll();
  kernelCounts(3, 6);
  poll();
  expectRow(43, 86);
  agentStarts();
  kernelCounts(5, 10);
  poll();
  expectRow(45, 90);
}

TEST_F(VlanCountersHelperTest, AVlanThatWentBeginsANewRow) {
  kernelCounts(40, 80);
  poll();
  kernelCounts(3, 6);
  poll();
  sut->vlanDel(kVlan);
  EXPECT_FALSE(sut->continues(kVlan));
  row = Glim::Bridging::VlanCounter(kVlan);
  kernelCounts(2, 4);
  sut->initializeVlanCounters(kVlan);
  poll();
  expectRow(2, 4);
}

TEST_F(VlanCountersHelperTest, ToldAgainOfAVlanItGoesOn) {
  kernelCounts(40, 80);
  poll();
  sut->initializeVlanCounters(kVlan);
  poll();
  expectRow(40, 80);
}

TEST_F(VlanCountersHelperTest, RowsOfAnotherBridgeDoNotGoOn) {
  kernelCounts(40, 80);
  poll();
  agentStarts(kBridge + 1);
  EXPECT_FALSE(sut->continues(kVlan));
}

TEST_F(VlanCountersHelperTest, WithoutAReadingTheRowStandsStillAndThatIsToldOnce) {
  kernelCounts(40, 80);
  poll();
  error = std::make_error_code(std::errc::no_buffer_space);
  poll();
  poll();
  expectRow(40, 80);
  EXPECT_EQ(said.size(), 1u);
  error = {};
  kernel.clear();
  poll();
  expectRow(40, 80);
}

TEST_F(VlanCountersHelperTest, AVlanWithoutARowIsNotPolled) {
  kernelCounts(40, 80);
  row.reset();
  auto const sample = Kel::make<OruTypes::VlanCounters>(kVlan);
  sut->getVlanCounters(kVlan, sample, sample);
  EXPECT_EQ(sample->counts(), VlanCounts());
}

TEST(VlanOffsetRow, KeepsWhatIsCounted) {
  StoredOffsets stored{{7, 5}, {}};
  stored.offsets[PortField::inOctets] = 1;
  stored.offsets[PortField::inPkts] = 2;
  stored.offsets[PortField::outOctets] = 3;
  stored.offsets[PortField::outPkts] = 4;
  EXPECT_EQ(VlanOffsetRow::of("Vlan10", stored).stored(), stored);
}

TEST(VlanOffsetRow, HasThePublishedSchema) {
  Support::expectPublishedSchema<VlanOffsetRow>(ORU_SOURCE_DIR "/tests/hardware/linux/schemas");
}

}  // namespace
}  // namespace Hardware::Linux
