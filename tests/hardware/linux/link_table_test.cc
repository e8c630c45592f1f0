#include "hardware/linux/link_table.h"

#include <gtest/gtest.h>

namespace Hardware::Linux {
namespace {

using Type = LinkEvent::Type;

Link link(int ifindex, std::string name) {
  Link made;
  made.ifindex = ifindex;
  made.name = std::move(name);
  made.mtu = 1500;
  return made;
}

std::vector<Type> types(LinkTable::Events const& events) {
  std::vector<Type> all;
  for (auto const& event : events) all.push_back(event.type);
  return all;
}

class LinkTableTest : public ::testing::Test {
 protected:
  /// The table knows eth0 (2) and eth1 (3), and the events of that are past.
  void SetUp() override {
    sut.linkIs(link(2, "eth0"), events);
    sut.linkIs(link(3, "eth1"), events);
    events.clear();
  }
  LinkTable sut;
  LinkTable::Events events;
};

TEST_F(LinkTableTest, NewLinkAppears) {
  sut.linkIs(link(4, "eth2"), events);
  ASSERT_EQ(types(events), (std::vector{Type::appeared}));
  EXPECT_EQ(events[0].link, link(4, "eth2"));
}

TEST_F(LinkTableTest, NewsThatSaysNothingNewIsNoEvent) {
  sut.linkIs(link(2, "eth0"), events);
  EXPECT_TRUE(events.empty());
}

TEST_F(LinkTableTest, NewPropertyIsAChange) {
  Link changed = link(2, "eth0");
  changed.mtu = 9000;
  sut.linkIs(changed, events);
  ASSERT_EQ(types(events), (std::vector{Type::changed}));
  EXPECT_EQ(events[0].link.mtu, 9000u);
}

TEST_F(LinkTableTest, SameIndexWithANewNameIsARename) {
  sut.linkIs(link(2, "uplink"), events);
  ASSERT_EQ(types(events), (std::vector{Type::renamed}));
  EXPECT_EQ(events[0].oldName, "eth0");
  EXPECT_EQ(events[0].link.name, "uplink");
}

TEST_F(LinkTableTest, NameComesBeforeWhatChangedWithIt) {
  Link changed = link(2, "uplink");
  changed.adminUp = true;
  sut.linkIs(changed, events);
  ASSERT_EQ(types(events), (std::vector{Type::renamed, Type::changed}));
  EXPECT_FALSE(events[0].link.adminUp);
  EXPECT_TRUE(events[1].link.adminUp);
}

TEST_F(LinkTableTest, DeletedLinkVanishesAsItStoodLast) {
  sut.linkDel(3, events);
  ASSERT_EQ(types(events), (std::vector{Type::vanished}));
  EXPECT_EQ(events[0].link, link(3, "eth1"));
  EXPECT_EQ(sut.link(3), nullptr);
}

TEST_F(LinkTableTest, DeletionOfAnUnknownLinkIsNoEvent) {
  sut.linkDel(99, events);
  EXPECT_TRUE(events.empty());
}

TEST_F(LinkTableTest, LinkThatIsMissingFromTheListVanishes) {
  sut.listBegins(events);
  sut.linkIs(link(2, "eth0"), events);
  sut.listEnds(events);
  ASSERT_EQ(types(events), (std::vector{Type::vanished}));
  EXPECT_EQ(events[0].link.ifindex, 3);
}

TEST_F(LinkTableTest, NameIsFreeBeforeAnotherLinkOfTheListTakesIt) {
  sut.linkDel(2, events);  // before the list, and stays before it
  sut.listBegins(events);
  sut.linkIs(link(7, "eth1"), events);
  sut.listEnds(events);
  ASSERT_EQ(types(events), (std::vector{Type::vanished, Type::vanished, Type::appeared}));
  EXPECT_EQ(events[0].link.ifindex, 2);
  EXPECT_EQ(events[1].link.ifindex, 3);
  EXPECT_EQ(events[2].link.ifindex, 7);
}

TEST_F(LinkTableTest, NewsDuringTheListCountsAsListed) {
  sut.listBegins(events);
  sut.linkIs(link(2, "eth0"), events);
  sut.linkIs(link(3, "eth1"), events);
  sut.linkIs(link(8, "late"), events);
  sut.linkDel(2, events);
  sut.listEnds(events);
  EXPECT_EQ(types(events), (std::vector{Type::appeared, Type::vanished}));
}

}  // namespace
}  // namespace Hardware::Linux
