// Walks over collections that change meanwhile, and the order in which they go.
#include "platform/kel/walk.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/kel/station_fixture.h"

namespace KelTest {
namespace {

using Kel::Ptr;

class Walk : public testing::Test {
 protected:
  // Walks, and calls `change` at key 20.
  template <class Change>
  std::vector<int> keysWith(Change const& change) {
    std::vector<int> keys;
    for (auto const& [key, value] : Kel::walk(sut)) {
      keys.push_back(key);
      if (key == 20) change();
    }
    return keys;
  }
  Kel::RbTreeMap<std::string, int> sut{{10, "a"}, {20, "b"}, {30, "c"}, {40, "d"}};
};

TEST_F(Walk, GoesInTheOrderOfTheKeys) {
  EXPECT_EQ(keysWith([] {}), (std::vector{10, 20, 30, 40}));
}

TEST_F(Walk, OverAnEmptyMapGoesNowhere) {
  sut.clear();
  EXPECT_EQ(keysWith([] {}), std::vector<int>{});
}

TEST_F(Walk, MeetsWhatIsInsertedAheadAndNotWhatIsInsertedBehind) {
  EXPECT_EQ(keysWith([&] {
              sut[15] = "behind";
              sut[25] = "ahead";
            }),
            (std::vector{10, 20, 25, 30, 40}));
}

TEST_F(Walk, GoesOnAfterTheCurrentMemberIsErased) {
  EXPECT_EQ(keysWith([&] { sut.erase(20); }), (std::vector{10, 20, 30, 40}));
}

TEST_F(Walk, SkipsWhatIsErasedAhead) {
  EXPECT_EQ(keysWith([&] { sut.erase(30); }), (std::vector{10, 20, 40}));
}

TEST_F(Walk, EndsWhenTheMapIsCleared) {
  EXPECT_EQ(keysWith([&] { sut.clear(); }), (std::vector{10, 20}));
}

TEST_F(Walk, GoesOnInAMapThatIsFilledAnew) {
  EXPECT_EQ(keysWith([&] { sut = {{20, "x"}, {50, "y"}}; }), (std::vector{10, 20, 50}));
}

TEST_F(Walk, HoldsTheCurrentMember) {
  for (auto const& [key, value] : Kel::walk(sut)) {
    std::string const before = value;
    sut.erase(key);
    EXPECT_EQ(value, before);
  }
  EXPECT_TRUE(sut.empty());
}

TEST(BitReverse, ReversesAll32Bits) {
  static_assert(Kel::bitReverse(1u) == 0x80000000u);
  static_assert(Kel::bitReverse(0u) == 0u);
  static_assert(Kel::bitReverse(0x12345678u) == 0x1e6a2c48u);
  for (unsigned bit = 0; bit < 32; ++bit)
    EXPECT_EQ(Kel::bitReverse(1u << bit), 0x80000000u >> bit) << bit;
}

// A key that says itself where it hashes to.
struct PlacedKey {
  std::uint32_t place = 0;
  int number = 0;
  std::uint32_t hash() const { return place; }
  bool operator==(PlacedKey const&) const = default;
  auto operator<=>(PlacedKey const&) const = default;
};

class Member : public Kel::StateMachine<Member, Kel::ReactorOwner> {
 public:
  explicit Member(int const& number) : _number(number) {}
  int number() const { return _number; }
  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::Member", Kel::parameter("number", &Member::_number));
  }
  static Kel::TypeNode const _kelType;

 private:
  int _number;
};
constinit Kel::TypeNode const Member::_kelType = Kel::typeNode<Member>();

TEST(BucketOrder, GoesByReversedHashAndWithinABucketByKey) {
  Kel::HashMap<Member, PlacedKey> sut;
  sut.newMember({1u, 1}, 1);           // bit-reversed: 0x80000000
  sut.newMember({2u, 2}, 2);           // 0x40000000
  sut.newMember({3u, 3}, 3);           // 0xc0000000
  sut.newMember({4u, 5}, 5);           // 0x20000000
  sut.newMember({4u, 4}, 4);           // the same place
  sut.newMember({0x80000000u, 6}, 6);  // 1
  std::vector<int> numbers;
  for (auto const& [key, member] : sut.walk()) numbers.push_back(member->number());
  EXPECT_EQ(numbers, (std::vector{6, 4, 5, 2, 1, 3}));
}

class HashMap : public StationTest {
 protected:
  void filedAre(std::vector<std::string> const& names) {
    for (std::string const& name : names) {
      Kel::Name const key(name);
      sut.newMember(key, journal, key);
    }
    journal->taken();
  }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (auto const& [key, member] : sut.walk())
      found.emplace_back(static_cast<Kel::Name const&>(key).view());
    return found;
  }
  Kel::HashMap<Child, Kel::Name> sut;
};

TEST_F(HashMap, GoesInTheOrderOfReversedHashes) {
  std::vector<std::string> expected{"Ethernet1", "Ethernet2", "Ethernet10", "Vlan7", "Cpu"};
  filedAre(expected);
  std::sort(expected.begin(), expected.end(), [](auto const& a, auto const& b) {
    return Kel::bitReverse(Kel::textHash(a)) < Kel::bitReverse(Kel::textHash(b));
  });
  EXPECT_EQ(names(), expected);
}

TEST_F(HashMap, FindsAndForgets) {
  filedAre({"a", "b"});
  EXPECT_EQ(sut.size(), 2u);
  EXPECT_TRUE(sut.member("a"));
  EXPECT_EQ(sut.member("c"), nullptr);
  sut.deleteMember("a");
  sut.deleteMember("c");
  EXPECT_EQ(sut.size(), 1u);
  EXPECT_EQ(sut.member("a"), nullptr);
  EXPECT_EQ(journal->lines(), (Lines{"zombie child a", "~child a"}));
}

TEST_F(HashMap, AMemberHasLeftTheMapWhenItDies) {
  filedAre({"a", "b"});
  std::size_t seen = 9;
  journal->on("~child a", [&] { seen = sut.size(); });
  sut.deleteMember("a");
  EXPECT_EQ(seen, 1u);
}

TEST_F(HashMap, SurvivesADyingMemberThatDeletesAnother) {
  filedAre({"a", "b", "c"});
  auto const order = names();
  journal->on("~child " + order[0], [&] { sut.deleteMember(order[1].c_str()); });
  sut.emptyAllBuckets();
  EXPECT_EQ(sut.size(), 0u);
  EXPECT_EQ(journal->lines(),
            (Lines{"zombie child " + order[0], "~child " + order[0], "zombie child " + order[1],
                   "~child " + order[1], "zombie child " + order[2], "~child " + order[2]}));
}

TEST_F(HashMap, SurvivesItsEmptyingDuringAWalkThatHoldsTheCurrentMember) {
  filedAre({"a", "b", "c"});
  auto const order = names();
  Lines visited;
  for (auto const& [key, member] : sut.walk()) {
    visited.emplace_back(static_cast<Kel::Name const&>(key).view());
    sut.emptyAllBuckets();
    EXPECT_EQ(member->references(), 1u);
  }
  EXPECT_EQ(visited, (Lines{order[0]}));
}

TEST_F(HashMap, SurvivesEachMemberLeavingDuringAWalk) {
  filedAre({"a", "b", "c"});
  int visited = 0;
  for (auto const& [key, member] : sut.walk()) {
    sut.deleteMember(key);
    ++visited;
  }
  EXPECT_EQ(visited, 3);
  EXPECT_EQ(sut.size(), 0u);
}

}  // namespace
}  // namespace KelTest
