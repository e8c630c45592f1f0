// What every table that an agent publishes does, through the collection that its writer knows.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/bridging/vlan_counter_tables.h"
#include "platform/glim/reader.h"
#include "platform/interface/counter_tables.h"
#include "platform/qos/copp_class_tables.h"
#include "tests/support/temporary_tables.h"

namespace {

using ::Bridging::VlanId;
using Pekt::IntfId;

// Each table under test: its collection, three keys in their order, and the collection's own names.

struct EthernetCounters {
  static constexpr char const* name = "EthernetCounters";
  using Table = Interface::AllEthIntfCounterGlim;
  static constexpr auto put = &Table::counterIs;
  static constexpr auto del = &Table::counterDel;
  static constexpr auto commit = &Table::commit;
  static std::vector<IntfId> keys() { return {"Ethernet2", "Ethernet10", "Ethernet10/1"}; }
};

struct VlanInterfaceCounters {
  static constexpr char const* name = "VlanInterfaceCounters";
  using Table = Interface::AllVlanIntfCounterGlim;
  static constexpr auto put = &Table::counterIs;
  static constexpr auto del = &Table::counterDel;
  static constexpr auto commit = &Table::commit;
  static std::vector<IntfId> keys() { return {"Vlan9", "Vlan10", "Vlan4094"}; }
};

struct QueueCounters {
  static constexpr char const* name = "QueueCounters";
  using Table = Interface::QueueCounter::AllIntfQueueCounters;
  static constexpr auto put = &Table::intfQueueCounterIs;
  static constexpr auto del = &Table::remove;
  static constexpr auto commit = &Table::commit;
  static std::vector<IntfId> keys() { return {"Ethernet1", "Ethernet9/2", "Ethernet9/10"}; }
};

struct DropCounters {
  static constexpr char const* name = "DropCounters";
  using Table = Glim::Interface::AllDropCounterDir;
  static constexpr auto put = &Table::counterIs;
  static constexpr auto del = &Table::remove;
  static constexpr auto commit = &Table::counterCommit;
  static std::vector<IntfId> keys() { return {"Ethernet2", "Ethernet10", "Ethernet10/1"}; }
};

struct VlanCounters {
  static constexpr char const* name = "VlanCounters";
  using Table = Glim::Bridging::VlanCounterDir;
  static constexpr auto put = &Table::vlanCounterIs;
  static constexpr auto del = &Table::vlanCounterDel;
  static constexpr auto commit = &Table::vlanCounterCommit;
  static std::vector<VlanId> keys() { return {VlanId(9), VlanId(10), VlanId(4094)}; }
};

struct VlanSnapshots {
  static constexpr char const* name = "VlanSnapshots";
  using Table = Glim::Bridging::VlanCounterSnapshotDir;
  static constexpr auto put = &Table::vlanCounterSnapshotIs;
  static constexpr auto del = &Table::vlanCounterSnapshotDel;
  static constexpr auto commit = &Table::vlanCounterSnapshotCommit;
  static std::vector<VlanId> keys() { return {VlanId(1), VlanId(256), VlanId(1024)}; }
};

struct PolicingClassCounters {
  static constexpr char const* name = "PolicingClassCounters";
  using Table = Qos::AllCoppClassCounter;
  static constexpr auto put = &Table::counterIs;
  static constexpr auto del = &Table::counterDel;
  static constexpr auto commit = &Table::commit;
  static std::vector<Qos::CoppClassName> keys() { return {"bgp", "icmp", "ospf"}; }
};

template <class Named>
class PublishedTable : public testing::Test {
 protected:
  using Table = typename Named::Table;
  using Record = typename Table::Record;
  using Key = typename Table::Key;

  Kel::Ptr<Table> make() { return tables.table<Table>("table"); }

  void put(Record const& record) { ((*sut).*Named::put)(record); }
  void del(Key const& key) { ((*sut).*Named::del)(key); }
  void commit(typename Table::Slot const& slot) { ((*sut).*Named::commit)(slot); }

  // The record with another value in each of its 64-bit counters and times.
  static Record row(Key const& key, std::uint64_t value) {
    Record record;
    auto* const bytes = reinterpret_cast<char*>(&record);
    std::memcpy(bytes, &key, sizeof key);
    for (Glim::Field const& field : Glim::RecordTraits<Record>::fields) {
      for (std::size_t at = field.offset; at < field.offset + field.size(); at += 8) {
        if (at < sizeof key || Glim::fieldSize(field.type) != 8) continue;
        std::uint64_t const count = 1000 * value + at;
        double const time = static_cast<double>(count);
        if (field.type == Glim::FieldType::f64) {
          std::memcpy(bytes + at, &time, sizeof time);
        } else {
          std::memcpy(bytes + at, &count, sizeof count);
        }
      }
    }
    return record;
  }

  // The record, and whether it was found, beginning with the opposite of what is expected.
  std::pair<bool, Record> look(Key const& key, bool expected) {
    bool found = !expected;
    Record out = row(key, 77);
    sut->safeLookup(key, found, out);
    return {found, out};
  }
  void expectRow(Record const& expected) {
    auto const [found, out] = look(Glim::RecordTraits<Record>::key(expected), true);
    EXPECT_TRUE(found);
    EXPECT_EQ(out, expected);
  }
  void expectAbsent(Key const& key) {
    auto const [found, out] = look(key, false);
    EXPECT_FALSE(found);
    EXPECT_EQ(out, Record());
  }

  std::vector<Key> const keys = Named::keys();
  Support::TemporaryTables tables;
  Kel::Ptr<Table> sut = make();
};

using Tables = testing::Types<EthernetCounters, VlanInterfaceCounters, QueueCounters, DropCounters,
                              VlanCounters, VlanSnapshots, PolicingClassCounters>;
// Names the suites in the output of the tests.
class TableNames {
 public:
  template <class Named>
  static std::string GetName(int) {
    return Named::name;
  }
};
TYPED_TEST_SUITE(PublishedTable, Tables, TableNames);

TYPED_TEST(PublishedTable, FindsTheRecordThatWasWritten) {
  this->put(this->row(this->keys[0], 1));
  this->put(this->row(this->keys[1], 2));
  this->expectRow(this->row(this->keys[0], 1));
  this->expectRow(this->row(this->keys[1], 2));
}

TYPED_TEST(PublishedTable, AnswersTheDefaultRecordForAnAbsentKey) {
  this->put(this->row(this->keys[0], 1));
  this->expectAbsent(this->keys[1]);
}

TYPED_TEST(PublishedTable, OverwritesTheRecordUnderItsKey) {
  this->put(this->row(this->keys[0], 1));
  this->put(this->row(this->keys[1], 2));
  this->put(this->row(this->keys[0], 3));
  this->expectRow(this->row(this->keys[0], 3));
  this->expectRow(this->row(this->keys[1], 2));
  EXPECT_EQ(this->sut->members(), 2u);
}

TYPED_TEST(PublishedTable, DeletesTheRecordUnderAKeyAndNoOther) {
  this->put(this->row(this->keys[0], 1));
  this->put(this->row(this->keys[1], 2));
  this->del(this->keys[0]);
  this->expectAbsent(this->keys[0]);
  this->expectRow(this->row(this->keys[1], 2));
}

TYPED_TEST(PublishedTable, DeletingAnAbsentKeyDoesNothing) {
  this->put(this->row(this->keys[0], 1));
  this->del(this->keys[1]);
  EXPECT_EQ(this->sut->members(), 1u);
  EXPECT_TRUE(this->sut->attached());
}

TYPED_TEST(PublishedTable, ADirectWriteMakesAnAbsentRowThatShowsAtItsCommit) {
  auto const slot = this->sut->directWrite(this->keys[0]);
  EXPECT_EQ(Glim::RecordTraits<typename TestFixture::Record>::key(*slot), this->keys[0]);
  *slot = this->row(this->keys[0], 1);
  this->expectAbsent(this->keys[0]);
  this->commit(slot);
  this->expectRow(this->row(this->keys[0], 1));
}

TYPED_TEST(PublishedTable, ADirectWriteBeginsWithTheRowAndReplacesItAtItsCommit) {
  this->put(this->row(this->keys[0], 1));
  auto const slot = this->sut->directWrite(this->keys[0]);
  EXPECT_EQ(*slot, this->row(this->keys[0], 1));
  *slot = this->row(this->keys[0], 2);
  this->expectRow(this->row(this->keys[0], 1));
  this->commit(slot);
  this->expectRow(this->row(this->keys[0], 2));
  EXPECT_EQ(this->sut->members(), 1u);
}

TYPED_TEST(PublishedTable, WalksInTheOrderOfItsKeys) {
  for (std::size_t const i : {2u, 0u, 1u}) this->put(this->row(this->keys[i], i));
  std::vector<typename TestFixture::Key> seen;
  this->sut->forEach([&](auto const& record) {
    seen.push_back(Glim::RecordTraits<typename TestFixture::Record>::key(record));
  });
  EXPECT_EQ(seen, this->keys);
}

TYPED_TEST(PublishedTable, ItsRowsSurviveARestart) {
  this->put(this->row(this->keys[0], 1));
  this->put(this->row(this->keys[1], 2));
  this->del(this->keys[1]);
  auto const slot = this->sut->directWrite(this->keys[2]);
  *slot = this->row(this->keys[2], 3);
  this->commit(slot);
  this->sut = nullptr;
  this->sut = this->make();
  EXPECT_EQ(this->sut->conquest()->kind, Glim::Conquest::Kind::adopted);
  this->expectRow(this->row(this->keys[0], 1));
  this->expectAbsent(this->keys[1]);
  this->expectRow(this->row(this->keys[2], 3));
  this->put(this->row(this->keys[0], 4));
  this->expectRow(this->row(this->keys[0], 4));
}

TYPED_TEST(PublishedTable, AReaderOfItsFileFindsItsRows) {
  Glim::Reader<typename TestFixture::Record> reader(this->sut->rootPath().path());
  ASSERT_EQ(reader.attach(), Glim::Answer::ok);
  this->put(this->row(this->keys[0], 1));
  this->put(this->row(this->keys[2], 2));
  typename TestFixture::Record out;
  EXPECT_EQ(reader.lookup(this->keys[2], out), Glim::Answer::ok);
  EXPECT_EQ(out, this->row(this->keys[2], 2));
  EXPECT_EQ(reader.lookup(this->keys[1], out), Glim::Answer::absent);
}

TEST(PublishedTables, OfVlansLiveAndSnapshotStandApart) {
  Support::TemporaryTables tables;
  auto const live = tables.table<Glim::Bridging::VlanCounterDir>("live");
  auto const snapshot = tables.table<Glim::Bridging::VlanCounterSnapshotDir>("snapshot");
  Glim::Bridging::VlanCounter row(VlanId(10));
  row.counts.inOctets = 5;
  live->vlanCounterIs(row);
  EXPECT_FALSE(snapshot->contains(VlanId(10)));
  row.counts.inOctets = 3;
  snapshot->vlanCounterSnapshotIs(row);
  EXPECT_EQ(live->lookup(VlanId(10)).counts.inOctets, 5u);
  live->vlanCounterDel(VlanId(10));
  EXPECT_EQ(snapshot->lookup(VlanId(10)).counts.inOctets, 3u);
}

}  // namespace
