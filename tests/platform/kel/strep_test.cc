#include "platform/kel/strep.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "platform/kel/exceptions.h"
#include "tests/platform/kel/machines.h"

namespace KelTest {
namespace {

using Kel::OpNotSupportedException;
using Kel::Ptr;
using Kel::RangeException;

TEST(Strep, OfAPointerIsItsTypeAndAddress) {
  auto const journal = Kel::make<Journal>();
  auto const child = Kel::instance<Child>(journal, Kel::Name("a"));
  std::ostringstream address;
  address << static_cast<void const*>(child.get());
  EXPECT_EQ(Kel::valueToStrepOfRawPtr(child.get()), "KelTest::Child@" + address.str());
  EXPECT_EQ(Kel::toStrep(child), "KelTest::Child@" + address.str());
  EXPECT_EQ(Kel::valueToStrepOfRawPtr(nullptr), "null");
}

TEST(Strep, OfAPointerCannotBeRead) {
  EXPECT_THROW(Kel::fromStrep<Ptr<Child>>("null"), OpNotSupportedException);
}

TEST(Strep, OfTextIsTheTextWithItsSpaces) {
  EXPECT_EQ(Kel::fromStrep<Kel::String>(" a b "), Kel::String(" a b "));
  EXPECT_EQ(Kel::fromStrep<Kel::Name>("a b"), Kel::Name("a b"));
  EXPECT_EQ(Kel::toStrep(Kel::String("a b")), "a b");
}

TEST(Strep, OfAFlagIsAWord) {
  EXPECT_EQ(Kel::toStrep(true), "true");
  EXPECT_FALSE(Kel::fromStrep<bool>("false"));
  EXPECT_THROW(Kel::fromStrep<bool>("1"), RangeException);
}

TEST(Strep, OfAnUnsignedNumberHasNoSign) {
  EXPECT_EQ(Kel::fromStrep<std::uint64_t>("18446744073709551615"),
            std::numeric_limits<std::uint64_t>::max());
  EXPECT_THROW(Kel::fromStrep<std::uint64_t>("18446744073709551616"), RangeException);
  EXPECT_THROW(Kel::fromStrep<std::uint32_t>("-1"), RangeException);
  EXPECT_THROW(Kel::fromStrep<std::uint16_t>("65536"), RangeException);
}

TEST(Strep, OfASmallNumberIsANumberAndNoCharacter) {
  EXPECT_EQ(Kel::fromStrep<std::uint8_t>("7"), 7);
  EXPECT_EQ(Kel::toStrep(std::uint8_t{7}), "7");
  EXPECT_THROW(Kel::fromStrep<std::uint8_t>("256"), RangeException);
}

}  // namespace
}  // namespace KelTest
