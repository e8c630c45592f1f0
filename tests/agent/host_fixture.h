// An agent with a simulated chip, in virtual time, whose tables are read as readers do.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "agent/host.h"
#include "counters/pollers/counter_records.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/simulated/counters_helper.h"
#include "platform/glim/reader.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {

class HostTest : public ::testing::Test {
 protected:
  HostTest() {
    options.tables = place.directory().string();
    options.chip = ChipKind::simulated;
    options.ports = 3;
    options.vlanInterfaces = 2;
    options.seed = 11;
  }
  void start(Glim::TableLimits const& limits = {}) {
    sut = std::make_unique<Host>(
        options, [this] { return time.now() - set; }, limits);
    sut->start(loop);
    sut->turn();
  }
  // Turns as the event loop would take them.
  void turnsFor(Kel::Seconds span) {
    for (Kel::Seconds const end = time.now() + span; time.now() < end;) {
      time.nowIs(time.now() + 0.1);
      sut->turn();
    }
  }
  std::optional<Interface::EthIntfCounterGlim> row(char const* id) {
    Glim::Reader<Interface::EthIntfCounterGlim> reader(options.tables + "/" +
                                                       std::string(Interface::kIntfCounters));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Interface::EthIntfCounterGlim row;
    return reader.lookup(Pekt::IntfId(id), row) == Glim::Answer::ok ? std::optional(row)
                                                                    : std::nullopt;
  }
  template <class Row>
  std::optional<Row> rowOf(std::string_view table,
                           typename Glim::RecordTraits<Row>::Key const& id) {
    Glim::Reader<Row> reader(options.tables + "/" + std::string(table));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Row row;
    return reader.lookup(id, row) == Glim::Answer::ok ? std::optional(row) : std::nullopt;
  }
  std::optional<Interface::QueueCounter::IntfQueueCounter> queues(char const* id) {
    return rowOf<Interface::QueueCounter::IntfQueueCounter>(Interface::kIntfQueueCounters, id);
  }
  // The offsets that an agent of this machine's links kept.
  void addOffsets(char const* id) {
    Hardware::Linux::OffsetRow offsets;
    offsets.intfId = id;
    place.table<Hardware::Linux::GlimOffsetStore::Table>(Hardware::Linux::kLinkOffsets)
        ->write(offsets);
  }
  bool hasOffsets(char const* id) {
    Glim::Reader<Hardware::Linux::OffsetRow> reader(options.tables + "/" +
                                                    std::string(Hardware::Linux::kLinkOffsets));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Hardware::Linux::OffsetRow row;
    return reader.lookup(Pekt::IntfId(id), row) == Glim::Answer::ok;
  }
  std::uint64_t simulatedOctets(char const* id, Kel::Seconds seconds) {
    return Hardware::Simulated::Chip::seeded(3, 11)
        .find(Pekt::IntfId(id))
        ->sample(seconds)
        .inOctets;
  }

  // The wall clock is set; no time passes.
  void setClockBy(Kel::Seconds step) {
    set += step;
    time.nowIs(time.now() + step);
  }

  using QueueIndex = Interface::QueueCounter::QueueIndex;
  Support::VirtualTime time;
  Kel::Seconds set = 0.0;
  Support::TemporaryTables place;
  Options options;
  EventLoop loop;
  std::unique_ptr<Host> sut;
};

}  // namespace Agent
