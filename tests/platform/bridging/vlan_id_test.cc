#include "platform/bridging/vlan_id.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/kel/exceptions.h"

namespace Bridging {
namespace {

std::string refusal(std::uint64_t value) {
  try {
    VlanId const sut(value);
  } catch (Kel::RangeException const& exception) {
    return exception.what();
  }
  return "not refused";
}

TEST(VlanId, Is1To4094) {
  EXPECT_EQ(VlanId(VlanId::min).value(), 1u);
  EXPECT_EQ(VlanId(VlanId::max).value(), 4094u);
}

TEST(VlanId, OutsideIsRefused) {
  EXPECT_EQ(refusal(0), "a VLAN id is 1 to 4094, not 0");
  EXPECT_EQ(refusal(4095), "a VLAN id is 1 to 4094, not 4095");
  // Would be VLAN 1 within 12, 16 and 32 bits.
  EXPECT_EQ(refusal(0x1001), "a VLAN id is 1 to 4094, not 4097");
  EXPECT_EQ(refusal(0x10001), "a VLAN id is 1 to 4094, not 65537");
  EXPECT_EQ(refusal(0x100000001), "a VLAN id is 1 to 4094, not 4294967297");
}

TEST(VlanId, IsReadFromADecimalNumber) {
  EXPECT_EQ(VlanId("4094"), VlanId(4094));
  for (std::string const text :
       {"", " 1", "1 ", "0x10", "-1", "1.0", "ten", "18446744073709551617"})
    EXPECT_THROW(VlanId const sut(text), Kel::RangeException) << '"' << text << '"';
}

TEST(VlanId, OfATextOutsideIsRefusedAsThatOfANumber) {
  EXPECT_THROW(VlanId const sut("0"), Kel::RangeException);
  EXPECT_THROW(VlanId const sut("4095"), Kel::RangeException);
}

TEST(VlanId, OfADefaultIsNoVlan) { EXPECT_EQ(VlanId().value(), 0u); }

TEST(VlanId, ComparesByNumber) {
  EXPECT_EQ(VlanId(10), VlanId(10));
  EXPECT_NE(VlanId(10), VlanId(11));
  EXPECT_LT(VlanId(9), VlanId(10));
  EXPECT_LT(VlanId(255), VlanId(256));
}

TEST(VlanId, HashesToItsNumber) { EXPECT_EQ(VlanId(4094).hash(), 4094u); }

TEST(VlanId, PrintsAsANumber) {
  std::ostringstream out;
  out << VlanId(4094);
  EXPECT_EQ(out.str(), "4094");
}

}  // namespace
}  // namespace Bridging
