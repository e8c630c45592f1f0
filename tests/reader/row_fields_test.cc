#include "reader/row_fields.h"

#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

#include "platform/pekt/intf_id.h"
#include "platform/qos/copp_class_name.h"
#include "reader/json_pieces.h"

namespace Show {
namespace {

using Json = nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

class RowFields : public testing::Test {
 protected:
  // One field at the row's start.
  Glim::SchemaField field(std::string_view type, std::size_t count) {
    auto const text = "Row\nit:" + std::string(type) + ":0:" + std::to_string(count) + "\n";
    auto const schema = Glim::parseSchema(text, sizeof row);
    EXPECT_TRUE(schema) << text;
    return schema->fields[0];
  }
  Json json(std::string_view type, std::size_t count = 1) {
    return fieldJson(field(type, count), row.data());
  }
  std::string text(std::string_view type, std::size_t count = 1) {
    return fieldText(field(type, count), row.data());
  }
  void bytesAre(std::string_view bytes) { std::memcpy(row.data(), bytes.data(), bytes.size()); }

  std::array<std::uint64_t, 8> row{};
};

TEST_F(RowFields, UnsignedNumbersOfEverySizeAreExact) {
  row[0] = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(json("u64").dump(), "18446744073709551615");
  EXPECT_EQ(json("u32"), 4294967295u);
  EXPECT_EQ(json("u16"), 65535u);
  EXPECT_EQ(json("u8"), 255u);
}

TEST_F(RowFields, AnOptionalCounterWithoutValueIsNull) {
  row[0] = (std::uint64_t{1} << 63) - 1;
  EXPECT_EQ(json("u63").dump(), "9223372036854775807");
  row[0] = (std::uint64_t{1} << 63) | 5;
  EXPECT_TRUE(json("u63").is_null());
  EXPECT_EQ(text("u63"), "n/a");
}

TEST_F(RowFields, ADoubleThatIsNoFiniteNumberIsNull) {
  row[0] = std::bit_cast<std::uint64_t>(-0.1);
  EXPECT_EQ(json("f64"), -0.1);
  EXPECT_EQ(text("f64"), "-0.1");
  using Limits = std::numeric_limits<double>;
  for (double const none : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
    row[0] = std::bit_cast<std::uint64_t>(none);
    EXPECT_TRUE(json("f64").is_null());
    EXPECT_EQ(text("f64"), "n/a");
  }
}

TEST_F(RowFields, ArraysAreArraysWithAllTheirEntries) {
  row = {1, 2, std::uint64_t{1} << 63};
  EXPECT_EQ(json("u63", 3).dump(), "[1,2,null]");
  EXPECT_EQ(text("u63", 3), "1, 2, n/a");
  EXPECT_EQ(json("u32", 4).dump(), "[1,0,2,0]");
}

TEST_F(RowFields, ATextEndsAtItsFirstZeroOrItsLastByte) {
  bytesAre("abcdefgh");
  EXPECT_EQ(json("text", 8), "abcdefgh");
  EXPECT_EQ(json("text", 3), "abc");
  row[0] &= 0xffffff;
  EXPECT_EQ(json("text", 8), "abc");
  row[0] = 0;
  EXPECT_EQ(json("text", 8), "");
  EXPECT_EQ(text("text", 8), "\"\"");
}

TEST_F(RowFields, BytesThatAreNoTextHarmNobody) {
  bytesAre("a\xff\033[2Jb");
  EXPECT_EQ(text("text", 8), "a??[2Jb");
  EXPECT_EQ(Json::parse(jsonText(json("text", 8), true)), "a\xef\xbf\xbd\033[2Jb");
}

TEST_F(RowFields, ARowIsAnObjectInTheOrderOfItsSchema) {
  auto const schema = Glim::parseSchema("Row\nz:u64:0:1\na:u64:8:1\n", sizeof row);
  row = {1, 2};
  EXPECT_EQ(rowJson(*schema, row.data()).dump(), R"({"z":1,"a":2})");
}

TEST_F(RowFields, TheKeyIsTheFieldsAtTheStart) {
  auto const schema = Glim::parseSchema("Row\na:u32:0:1\nb:u32:4:1\nc:u64:8:1\n", sizeof row);
  EXPECT_THAT(keyFields(*schema, 8), ElementsAre("a", "b"));
  EXPECT_THAT(keyFields(*schema, 16), ElementsAre("a", "b", "c"));
  row[0] = std::uint64_t{7} << 32 | 3;
  EXPECT_EQ(keyText(*schema, 8, row.data()), "3, 7");
}

TEST_F(RowFields, KeysThatAreNamesComeInNaturalOrder) {
  auto const schema = Glim::parseSchema("Row\nname:text:0:48\nn:u64:48:1\n", 56);
  Pekt::IntfId const two("Ethernet2"), ten("Ethernet10");
  EXPECT_TRUE(keyLess(*schema, 48, &two, &ten));
  EXPECT_FALSE(keyLess(*schema, 48, &ten, &two));
}

TEST_F(RowFields, KeysThatAreNumbersComeByTheirValue) {
  auto const schema = Glim::parseSchema("Row\nkey:u64:0:1\n", 8);
  std::uint64_t const two = 2, tooWide = 256;  // whose first byte is the smaller one
  EXPECT_TRUE(keyLess(*schema, 8, &two, &tooWide));
  EXPECT_FALSE(keyLess(*schema, 8, &tooWide, &two));
}

TEST_F(RowFields, OfInterfaceNamesTheHashAndThePaddingAreKnown) {
  auto const schema = Glim::parseSchema("Row\nname:text:0:48\nn:u64:48:1\n", 56);
  auto const options = keyKnowledge(*schema, 48);
  Pekt::IntfId key("Ethernet1");
  EXPECT_EQ(options.keyHash(&key), key.hash());
  EXPECT_EQ(options.keyText(&key), "Ethernet1");
  EXPECT_THAT(options.keyProblem(&key), IsEmpty());
  std::array<char, 48> bytes{};
  EXPECT_EQ(options.keyProblem(bytes.data()), "its key is empty");
  bytes[0] = 'E';
  bytes[47] = 'x';
  EXPECT_EQ(options.keyProblem(bytes.data()), "its key is not padded with zeros");
}

TEST_F(RowFields, OfNamesOfClassesTheHashIsKnown) {
  auto const schema = Glim::parseSchema("Row\nname:text:0:64\nn:u64:64:1\n", 72);
  auto const options = keyKnowledge(*schema, 64);
  Qos::CoppClassName key("copp-bgp");
  EXPECT_EQ(options.keyHash(&key), key.hash());
  EXPECT_THAT(options.keyProblem(&key), IsEmpty());
}

TEST_F(RowFields, OfOtherKeysNoHashIsKnown) {
  auto const schema = Glim::parseSchema("Row\nkey:u64:0:1\n", 8);
  auto const options = keyKnowledge(*schema, 8);
  EXPECT_FALSE(options.keyHash);
  EXPECT_FALSE(options.keyProblem);
}

}  // namespace
}  // namespace Show
