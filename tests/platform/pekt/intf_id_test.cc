#include "platform/pekt/intf_id.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <vector>

#include "platform/kel/exceptions.h"

namespace Pekt {
namespace {

TEST(IntfId, KeepsItsText) {
  IntfId const sut(Kel::String("Ethernet3/1"));
  EXPECT_EQ(sut.view(), "Ethernet3/1");
  EXPECT_EQ(sut.stringValue(), Kel::String("Ethernet3/1"));
  std::ostringstream out;
  out << sut;
  EXPECT_EQ(out.str(), "Ethernet3/1");
}

TEST(IntfId, IsEmptyByDefault) {
  EXPECT_TRUE(IntfId().empty());
  EXPECT_EQ(IntfId(), IntfId(""));
}

TEST(IntfId, TakesUpToItsGreatestLength) {
  std::string const longest(IntfId::kMaxLength, 'x');
  EXPECT_EQ(IntfId(longest).view(), longest);
  EXPECT_THROW(IntfId(longest + 'x'), Kel::RangeException);
}

TEST(IntfId, RefusesANulWithinTheText) {
  EXPECT_THROW(IntfId(std::string_view("a\0b", 3)), Kel::RangeException);
}

TEST(IntfId, EqualsAndHashesByItsText) {
  EXPECT_EQ(IntfId("Ethernet1"), IntfId("Ethernet1"));
  EXPECT_EQ(IntfId("Ethernet1").hash(), IntfId("Ethernet1").hash());
  EXPECT_NE(IntfId("Ethernet1"), IntfId("Ethernet2"));
}

TEST(IntfId, HashesTheNamesOfASwitchApart) {
  std::set<std::uint32_t> hashes;
  for (int port = 1; port <= 512; ++port)
    for (int lane = 1; lane <= 4; ++lane)
      hashes.insert(IntfId("Ethernet" + std::to_string(port) + '/' + std::to_string(lane)).hash());
  EXPECT_EQ(hashes.size(), 2048u);
}

TEST(IntfId, OrdersNumbersByValue) {
  std::vector<IntfId> ids{"Vlan10",      "Ethernet10", "Ethernet2/10", "Ethernet2",    "Cpu",
                          "Ethernet2/9", "Ethernet1",  "Vlan9",        "Ethernet2/1/1"};
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids,
            (std::vector<IntfId>{"Cpu", "Ethernet1", "Ethernet2", "Ethernet2/1/1", "Ethernet2/9",
                                 "Ethernet2/10", "Ethernet10", "Vlan9", "Vlan10"}));
}

TEST(IntfId, OrdersDifferentTextsOfTheSameNumbers) {
  EXPECT_TRUE((IntfId("a01") < IntfId("a1")) != (IntfId("a1") < IntfId("a01")));
  EXPECT_FALSE(IntfId("a1") < IntfId("a1"));
}

TEST(IntfId, OrderIsStrictAndTransitive) {
  std::vector<IntfId> const ids{"",    "a",     "a0",    "a00",  "a1",   "a01",
                                "a1b", "a01b",  "a2",    "a10",  "a010", "a1/",
                                "b",   "a1b01", "a01b1", "a1b1", "1",    "01"};
  for (IntfId const& a : ids)
    for (IntfId const& b : ids) {
      EXPECT_EQ((a < b) + (b < a) + (a == b), 1) << a << " and " << b;
      for (IntfId const& c : ids)
        EXPECT_TRUE(!(a < b && b < c) || a < c) << a << ", " << b << ", " << c;
    }
}

TEST(IntfId, OrdersNumbersOfAnyLength) {
  EXPECT_LT(IntfId("e99999999999999999999"), IntfId("e100000000000000000000"));
}

TEST(IntfId, EthernetNamesHaveOneToThreeNumbers) {
  for (char const* const name : {"Ethernet1", "Ethernet0", "Ethernet48/4", "Ethernet3/1/2"})
    EXPECT_TRUE(EthIntfId::isEthIntfId(name)) << name;
  for (char const* const name :
       {"", "Ethernet", "Ethernet01", "Ethernet1/", "Ethernet1/2/3/4", "Ethernet1 ", "ethernet1",
        "Ethernet-1", "Ethernet1/01", "Vlan1", "Ethernet1.5", "Ethernet99999999999"})
    EXPECT_FALSE(EthIntfId::isEthIntfId(name)) << name;
}

TEST(IntfId, VlanNamesHaveANumberOf1To4094) {
  EXPECT_EQ(VlanIntfId::vlanId("Vlan1"), 1);
  EXPECT_EQ(VlanIntfId::vlanId("Vlan4094"), 4094);
  for (char const* const name : {"Vlan0", "Vlan4095", "Vlan65537", "Vlan", "Vlan01", "Vlan1 ",
                                 "Vlan1/1", "vlan1", "Ethernet1", "", "Vlan99999999999"}) {
    EXPECT_FALSE(VlanIntfId::isVlanIntfId(name)) << name;
    EXPECT_EQ(VlanIntfId::vlanId(name), 0) << name;
  }
  EXPECT_TRUE(VlanIntfId::isVlanIntfId("Vlan4094"));
}

TEST(IntfId, CpuNamesBeginWithCpu) {
  EXPECT_TRUE(CpuIntfId::isCpuIntfId("Cpu"));
  EXPECT_TRUE(CpuIntfId::isCpuIntfId("CpuTx2"));
  EXPECT_FALSE(CpuIntfId::isCpuIntfId("cpu"));
  EXPECT_FALSE(CpuIntfId::isCpuIntfId("Ethernet1"));
}

}  // namespace
}  // namespace Pekt
