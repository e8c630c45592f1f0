#include "platform/qos/copp_class_name.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/kel/exceptions.h"

namespace Qos {
namespace {

TEST(CoppClassName, IsTheTextItWasMadeFrom) {
  EXPECT_EQ(CoppClassName("copp-system-bgp").view(), "copp-system-bgp");
  EXPECT_TRUE(CoppClassName().empty());
}

TEST(CoppClassName, HasUpTo63Bytes) {
  std::string const longest(63, 'x');
  EXPECT_EQ(CoppClassName(longest).view(), longest);
  EXPECT_FALSE(CoppClassName::isName(longest + 'x'));
  EXPECT_THROW(CoppClassName(longest + 'x'), Kel::RangeException);
}

TEST(CoppClassName, HoldsNoNul) {
  EXPECT_THROW(CoppClassName(std::string_view("a\0b", 3)), Kel::RangeException);
}

TEST(CoppClassName, IsOrderedByItsBytes) {
  EXPECT_LT(CoppClassName("bgp"), CoppClassName("bgp2"));
  EXPECT_LT(CoppClassName("class10"), CoppClassName("class2"));
  EXPECT_FALSE(CoppClassName("bgp") < CoppClassName("bgp"));
}

TEST(CoppClassName, HashesByItsWholeText) {
  EXPECT_EQ(CoppClassName("icmp").hash(), CoppClassName(std::string("icmp")).hash());
  EXPECT_NE(CoppClassName(std::string(63, 'x')).hash(),
            CoppClassName(std::string(62, 'x') + 'y').hash());
}

TEST(CoppClassName, IsPrintedAsItsText) {
  std::ostringstream out;
  out << CoppClassName("ospf");
  EXPECT_EQ(out.str(), "ospf");
}

}  // namespace
}  // namespace Qos
