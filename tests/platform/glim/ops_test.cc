// The operations on keys and records that a table is told of, and that it uses no others.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "platform/glim/glim_view.h"
#include "platform/interface/queue_counter.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::Middle;
using GlimTest::NameKey;
using GlimTest::NumberKey;
using GlimTest::Small;
using GlimTest::TableTest;

using MiddleOps = OpsOf<Middle>;

Middle middleRow() { return {NameKey("Ethernet1"), {1, 2, 3, 4, 5}, 8, 0}; }

TEST(GlimOps, AKeyIsThatOfTheRecordsAccessor) {
  Middle const row = middleRow();
  EXPECT_EQ(&MiddleOps::key(row), &row.key);
  EXPECT_EQ(&ValueOf<Middle>::fwkKey(row), &row.key);
}

TEST(GlimOps, KeysHashAsTheyDoThemselves) {
  NameKey const key("Ethernet1");
  EXPECT_EQ(MiddleOps::hash(key), key.hash());
  EXPECT_NE(MiddleOps::hash(key), MiddleOps::hash(NameKey("Ethernet2")));
}

TEST(GlimOps, KeysCompareAsTheyDoThemselves) {
  NameKey const a("a"), b("b");
  EXPECT_TRUE(MiddleOps::less(a, b));
  EXPECT_FALSE(MiddleOps::less(b, a));
  EXPECT_FALSE(MiddleOps::less(a, a));
  EXPECT_TRUE(MiddleOps::equal(a, NameKey("a")));
  EXPECT_FALSE(MiddleOps::equal(a, b));
}

TEST(GlimOps, AKeyPrintsAsItStreams) {
  EXPECT_EQ(OpsOf<Interface::QueueCounter::IntfQueueCounter>::toString("Ethernet1"), "Ethernet1");
}

TEST(GlimOps, AKeyThatDoesNotStreamPrintsItsStringValue) {
  EXPECT_EQ(MiddleOps::toString(NameKey("Ethernet1")), "Ethernet1");
}

TEST(GlimOps, KeysAreStoredByAnAllocatorOfKeys) {
  MiddleOps::KeyAllocator allocator;
  NameKey* const key = allocator.allocate(1);
  EXPECT_EQ(std::construct_at(key, "Ethernet1")->stringValue(), "Ethernet1");
  allocator.deallocate(key, 1);
}

TEST(GlimOps, ARecordIsMarshalledIntoTheWordsOfItsRow) {
  Middle const row = middleRow();
  EXPECT_EQ(std::memcmp(MiddleOps::marshal(row), &row, CheckedRecord<Middle>::words * 8), 0);
}

TEST(GlimOps, RecordsAreEqualInAllMembersOrNot) {
  Middle other = middleRow();
  EXPECT_TRUE(MiddleOps::equalValues(middleRow(), other));
  other.counts[4] = 6;
  EXPECT_FALSE(MiddleOps::equalValues(middleRow(), other));
}

TEST(GlimOps, ARecordPrintsItsFieldsByName) {
  EXPECT_EQ(MiddleOps::valueToString(middleRow()),
            "key Ethernet1 counts 1,2,3,4,5 valid 8 reserved 0");
}

// Another order, another hash and another text than the keys have by themselves, and a row that
// tells by whom it was marshalled.
struct OtherOps : OpsOf<Small> {
  static std::uint32_t hash(NumberKey const& key) { return ~OpsOf<Small>::hash(key); }
  static bool less(NumberKey const& a, NumberKey const& b) { return OpsOf<Small>::less(b, a); }
  static std::string toString(NumberKey const& key) { return "no. " + key.stringValue(); }
  static void const* marshal(Small const& record) {
    static Small row;
    row = {record.key, record.count + 1000};
    return &row;
  }
};
using OtherMap = GlimMap<NumberKey, ValueOf<Small>, OtherOps,
                         SlotAllocator<NumberKey, ValueOf<Small>>, ConquerWriter>;
using OtherView =
    GlimView<NumberKey, ValueOf<Small>, OtherOps, SlotAllocator<NumberKey, ValueOf<Small>>>;

class GlimOtherOps : public TableTest {
 protected:
  GlimOtherOps() {
    for (std::uint64_t const key : {1u, 3u, 2u}) sut.write({{key}, key});
  }
  OtherMap sut{root(), TableLimits{}, {{}, [] {}}};
  Small out;
  bool found = false;
};

TEST_F(GlimOtherOps, OrderTheWalkOfTheTableAndOfItsView) {
  ASSERT_TRUE(sut.first(out));
  EXPECT_EQ(out.key.value, 3u);
  ASSERT_TRUE(sut.next({3}, out));
  EXPECT_EQ(out.key.value, 2u);
  OtherView view(root());
  ASSERT_TRUE(view.initialize());
  ASSERT_TRUE(view.first(&out));
  EXPECT_EQ(out.key.value, 3u);
  ASSERT_TRUE(view.next({3}, &out));
  EXPECT_EQ(out.key.value, 2u);
}

TEST_F(GlimOtherOps, HashTheKeysInTheFile) {
  OtherView view(root());
  ASSERT_TRUE(view.initialize());
  view.lookup({2}, found, out);
  EXPECT_TRUE(found);
  Reader<Small> reader(path());  // which hashes keys as they do themselves
  ASSERT_EQ(reader.attach(), Answer::ok);
  EXPECT_EQ(reader.lookup({2}, out), Answer::absent);
}

TEST_F(GlimOtherOps, MarshalWhatIsWritten) {
  sut.safeLookup({2}, found, out);
  EXPECT_EQ(out, (Small{{2}, 1002}));
}

TEST_F(GlimOtherOps, NameTheKeyInTheReasonOfACorruption) {
  GlimTest::Vandal(file()).rowWord(0, 1) ^= 1;
  said.clear();
  sut.safeLookup({1}, found, out);
  ASSERT_FALSE(texts(1).empty());
  EXPECT_NE(texts(1)[0].find("row no. 1 in slot 0"), std::string::npos) << texts(1)[0];
}

}  // namespace
}  // namespace Glim
