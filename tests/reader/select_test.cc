#include "reader/select.h"

#include <gmock/gmock.h>

#include "tests/reader/made_up.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Selection : public testing::Test {
 protected:
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (Intf const& intf : snapshot.interfaces) all.emplace_back(intf.intfId.view());
    return all;
  }
  Snapshot snapshot = Show::snapshot(
      {intf("Ethernet1", "eth0"), intf("Ethernet2", "wan0"), intf("Ethernet10", "br[0]")});
};

TEST_F(Selection, NoNamesMeanAll) {
  EXPECT_THAT(select(snapshot, {}), IsEmpty());
  EXPECT_THAT(names(), ElementsAre("Ethernet1", "Ethernet2", "Ethernet10"));
}

TEST_F(Selection, ANameMeansOneIntf) {
  EXPECT_THAT(select(snapshot, {"Ethernet1"}), IsEmpty());
  EXPECT_THAT(names(), ElementsAre("Ethernet1"));
}

TEST_F(Selection, TheKernelsNameMeansTheSame) {
  EXPECT_THAT(select(snapshot, {"wan0"}), IsEmpty());
  EXPECT_THAT(names(), ElementsAre("Ethernet2"));
}

TEST_F(Selection, APatternMeansAllThatMatch) {
  EXPECT_THAT(select(snapshot, {"Ethernet1*"}), IsEmpty());
  EXPECT_THAT(names(), ElementsAre("Ethernet1", "Ethernet10"));
}

TEST_F(Selection, ANameThatLooksLikeAPatternStillMeansItself) {
  EXPECT_THAT(select(snapshot, {"br[0]"}), IsEmpty());
  EXPECT_THAT(names(), ElementsAre("Ethernet10"));
}

TEST_F(Selection, TheOrderIsThatOfTheInterfaces) {
  EXPECT_THAT(select(snapshot, {"Ethernet10", "eth0", "Ethernet1"}), IsEmpty());
  EXPECT_THAT(names(), ElementsAre("Ethernet1", "Ethernet10"));
}

TEST_F(Selection, NamesThatMeanNoneAreAnsweredOnceEach) {
  EXPECT_THAT(select(snapshot, {"Ethernet9", "Ethernet1", "lo*", "Ethernet9"}),
              ElementsAre("Ethernet9", "lo*"));
  EXPECT_THAT(names(), ElementsAre("Ethernet1"));
}

TEST_F(Selection, AnEmptyNameMeansNone) {
  snapshot.interfaces[0].description.reset();
  EXPECT_THAT(select(snapshot, {""}), ElementsAre(""));
  EXPECT_THAT(names(), IsEmpty());
}

TEST(SelectVlans, KeepsThoseOfAListAndAnswersWhatHasNone) {
  Snapshot sut;
  for (std::uint64_t const id : {10u, 20u, 30u})
    sut.vlans.emplace_back().vlanId = Bridging::VlanId(id);
  EXPECT_EQ(selectVlans(sut, {"5-15,40", "30", "41-50", "40"}),
            (std::vector<std::string>{"40", "41-50"}));
  ASSERT_EQ(sut.vlans.size(), 2u);
  EXPECT_EQ(sut.vlans[0].vlanId, Bridging::VlanId(10u));
  EXPECT_EQ(sut.vlans[1].vlanId, Bridging::VlanId(30u));
}

}  // namespace
}  // namespace Show
