/// What stands in for the kernel, the tables and the pollers around a helper.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/linux_counters_helper.h"

namespace Hardware::Linux::Test {

using Row = Interface::EthIntfCounterGlim;

class FakeLinks final : public LinkStatsSource {
 public:
  std::error_code refresh(double now) override {
    times.push_back(now);
    return error;
  }
  rtnl_link_stats64 const* find(int ifindex) const override {
    auto const at = links.find(ifindex);
    return at == links.end() ? nullptr : &at->second;
  }
  std::map<int, rtnl_link_stats64> links;
  std::vector<double> times;
  std::error_code error;
};

class FakeMacs final : public MacStatsSource {
 public:
  MacReading read(double, int) override { return {.stats = nullptr, .unavailable = unavailable}; }
  bool unavailable = false;
  void forget(int ifindex) override { forgotten.push_back(ifindex); }
  std::vector<int> forgotten;
};

class FakeQdiscs final : public QdiscSource {
 public:
  std::error_code refresh(double) override { return error; }
  std::span<Qdisc const> find(int ifindex) const override {
    auto const at = links.find(ifindex);
    return at == links.end() ? std::span<Qdisc const>() : at->second;
  }
  std::map<int, std::vector<Qdisc>> links;
  std::error_code error;
};

class FakeNftCounters final : public NftCounterSource {
 public:
  Reading read(double, NftCounterName const& counter) override {
    asked.push_back(counter.text());
    return reading;
  }
  TableReading readTable(NftTableName const& name) override {
    asked.push_back(name.text());
    return table;
  }
  ResetReading reset(NftCounterName const& name) override {
    asked.push_back("reset " + name.text());
    ResetReading told{.counter = {},
                      .error = std::make_error_code(std::errc::no_such_file_or_directory)};
    for (NftCounter& counter : table.table.counters) {
      if (counter.name != name.name) continue;
      told = {counter, resetError};
      if (!resetError) counter.pkts = counter.octets = 0;
    }
    return told;
  }
  Reading reading;
  TableReading table;
  std::error_code resetError;
  std::vector<std::string> asked;
};

/// A store that outlives its helpers, and may be full.
template <class Offsets>
class SharedStore final : public OffsetStoreOf<Offsets> {
 public:
  using Kept = MemoryOffsetStoreOf<Offsets>;
  explicit SharedStore(Kept& kept) : _kept(kept) {}
  std::optional<Offsets> load(Pekt::IntfId const& id) override { return _kept.load(id); }
  bool save(Pekt::IntfId const& id, Offsets const& offsets) override {
    return !full && _kept.save(id, offsets);
  }
  void erase(Pekt::IntfId const& id) override { _kept.erase(id); }
  void forEach(std::function<void(Pekt::IntfId const&)> const& visit) override {
    _kept.forEach(visit);
  }
  bool full = false;

 private:
  Kept& _kept;
};

/// What a port poller does with the helper, and the rows that it publishes.
class Rows {
 public:
  std::optional<Row> row(Pekt::IntfId const& id) const {
    auto const at = _rows.find(id);
    if (at == _rows.end()) return std::nullopt;
    return at->second;
  }
  void initialize(LinuxCountersHelper& helper, Pekt::IntfId const& id) {
    _previous[id] = Kel::make<OruTypes::IntfCounters>();
    helper.initialize(id);
  }
  void poll(LinuxCountersHelper& helper, Pekt::IntfId const& id) {
    auto const sample = Kel::make<OruTypes::IntfCounters>();
    auto const& previous = _previous.at(id);
    helper.getCounters(id, sample, previous);
    ASSERT_EQ(sample->intfStats().inErrors, receiveErrorSum(sample->ethStats()));
    ASSERT_EQ(sample->intfStats().outErrors, transmitErrorSum(sample->ethStats()));
    Row& row = _rows[id];
    row.intfId = id;
    row.statistics = row.statistics + (sample->intfStats() - previous->intfStats());
    row.ethStatistics = row.ethStatistics + (sample->ethStats() - previous->ethStats());
    previous->intfStatsIs(sample->intfStats());
    previous->ethStatsIs(sample->ethStats());
  }
  void remove(Pekt::IntfId const& id) { _rows.erase(id); }

 private:
  std::map<Pekt::IntfId, Row> _rows;
  std::map<Pekt::IntfId, Kel::Ptr<OruTypes::IntfCounters>> _previous;
};

/// Of an agent without a table, for what a test has no need of.
inline LinuxCountersHelper::AgentParts standInAgentParts(
    std::unique_ptr<OffsetStore> offsets, LinuxCountersHelper::PublishedRow publishedRow,
    std::function<Kel::Seconds()> now) {
  return {.offsets = std::move(offsets),
          .publishedRow = std::move(publishedRow),
          .queueOffsets = std::make_unique<MemoryQueueOffsetStore>(),
          .publishedQueues = [](auto const&) { return std::nullopt; },
          .publishedDrops = [](auto const&) { return std::uint64_t{0}; },
          .now = std::move(now),
          .aclDrops = {},
          .say = [](auto const&) {},
          .queueClearing = {},
          .copp = {}};
}

/// And of a kernel without a link.
inline LinuxCountersHelper::Parts standInParts() {
  return {standInAgentParts(
              std::make_unique<MemoryOffsetStore>(), [](auto const&) { return std::nullopt; },
              [] { return 0.0; }),
          {.links = std::make_unique<FakeLinks>(),
           .macs = std::make_unique<FakeMacs>(),
           .qdiscs = std::make_unique<FakeQdiscs>(),
           .nftCounters = std::make_unique<FakeNftCounters>(),
           .generation = 1}};
}

}  // namespace Hardware::Linux::Test
