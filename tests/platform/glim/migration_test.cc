// Which fields of an older row are found in today's, and as what.
#include "platform/glim/migration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace Glim {
namespace {

constexpr std::array allTypes{FieldType::u64, FieldType::u63, FieldType::f64, FieldType::u32,
                              FieldType::u16, FieldType::u8,  FieldType::text};

using Row = std::array<std::byte, 64>;

class GlimMigration : public testing::Test {
 protected:
  // Carries `row` of the schema `from` over to the schema `to`; the default row is full of 0xee
  // behind its key of 8 bytes.
  Row carried(std::string_view from, Row const& row, std::string_view to) {
    shape.schema = to;
    auto const sut = Migration::plan(from, sizeof(Row), shape);
    EXPECT_TRUE(sut);
    Row result{};
    if (sut) sut->carry(row.data(), result.data());
    return result;
  }
  template <class Number>
  static Number numberAt(Row const& row, std::size_t offset) {
    Number number;
    std::memcpy(&number, row.data() + offset, sizeof number);
    return number;
  }
  static Row rowWith(std::size_t offset, std::string_view bytes) {
    Row row{};
    std::memcpy(row.data() + offset, bytes.data(), bytes.size());
    return row;
  }

  GlimMigration() { defaultRow.fill(std::byte{0xee}); }

  Row defaultRow{};
  RowShape shape{"", 0, sizeof(Row) / 8, 8, {}, defaultRow.data(), {}};
};

TEST_F(GlimMigration, FieldsAreFoundByTheirNamesWhereverTheyStand) {
  Row const row = rowWith(8, std::string_view("\1\0\0\0\0\0\0\0\2\0\0\0\0\0\0\0", 16));
  Row const result = carried("R\nkey:u64:0:1\na:u64:8:1\nb:u64:16:1\n", row,
                             "R\nkey:u64:0:1\nb:u64:8:1\nc:u64:16:1\na:u64:24:1\n");
  EXPECT_EQ(numberAt<std::uint64_t>(result, 8), 2u);
  EXPECT_EQ(numberAt<std::uint64_t>(result, 16), 0xeeeeeeeeeeeeeeeeu);  // new: the default
  EXPECT_EQ(numberAt<std::uint64_t>(result, 24), 1u);
}

TEST_F(GlimMigration, NumbersWiden) {
  Row const row = rowWith(8, std::string_view("\xff\xfe\0\0\xff\xff\xff\xff", 8));
  Row const result = carried("R\nkey:u64:0:1\na:u8:8:2\nb:u32:12:1\n", row,
                             "R\nkey:u64:0:1\na:u32:8:2\nb:u63:16:1\n");
  EXPECT_EQ(numberAt<std::uint32_t>(result, 8), 255u);
  EXPECT_EQ(numberAt<std::uint32_t>(result, 12), 254u);
  EXPECT_EQ(numberAt<std::uint64_t>(result, 16), 0xffffffffu);
}

TEST_F(GlimMigration, WhatDoesNotCarryOverGetsTheDefault) {
  Row const row = rowWith(8, "12345678");
  Row const result = carried("R\nkey:u64:0:1\na:f64:8:1\n", row, "R\nkey:u64:0:1\na:u64:8:1\n");
  EXPECT_EQ(numberAt<std::uint64_t>(result, 8), 0xeeeeeeeeeeeeeeeeu);
}

TEST_F(GlimMigration, ALongerArrayKeepsItsDefaultsAtTheEndAndAShorterOneItsFront) {
  Row const row = rowWith(8, "abcdefgh");
  Row const longer = carried("R\nkey:u64:0:1\na:u8:8:2\n", row, "R\nkey:u64:0:1\na:u8:8:3\n");
  EXPECT_EQ(std::to_integer<char>(longer[9]), 'b');
  EXPECT_EQ(std::to_integer<int>(longer[10]), 0xee);
  Row const shorter = carried("R\nkey:u64:0:1\na:u8:8:3\n", row, "R\nkey:u64:0:1\na:u8:8:2\n");
  EXPECT_EQ(std::to_integer<char>(shorter[9]), 'b');
  EXPECT_EQ(std::to_integer<int>(shorter[10]), 0xee);
}

TEST_F(GlimMigration, ALongerTextIsPaddedWithZeros) {
  Row const row = rowWith(8, "ab");
  Row const result = carried("R\nkey:u64:0:1\na:text:8:2\n", row, "R\nkey:u64:0:1\na:text:8:4\n");
  EXPECT_EQ(std::memcmp(result.data() + 8, "ab\0\0", 4), 0);
  EXPECT_EQ(std::to_integer<int>(result[12]), 0xee);
}

TEST_F(GlimMigration, TheKeyMustBeTheSame) {
  shape.schema = "R\nkey:u64:0:1\na:u64:8:1\n";
  EXPECT_TRUE(Migration::plan("R\nkey:u64:0:1\n", sizeof(Row), shape));
  EXPECT_FALSE(Migration::plan("R\nid:u64:0:1\n", sizeof(Row), shape));
  EXPECT_FALSE(Migration::plan("R\nkey:text:0:8\n", sizeof(Row), shape));
  EXPECT_FALSE(Migration::plan("R\nkey:u32:0:1\nkind:u32:4:1\n", sizeof(Row), shape));
}

TEST_F(GlimMigration, WhatIsNoSchemaIsNotCarriedOver) {
  shape.schema = "R\nkey:u64:0:1\na:u64:8:1\n";
  EXPECT_FALSE(Migration::plan("rubbish", sizeof(Row), shape));
  EXPECT_FALSE(Migration::plan("R\nkey:u64:0:1\na:u64:64:1\n", sizeof(Row), shape));
}

TEST(GlimMigrationTypes, OnlyNumbersWithoutSignWiden) {
  using enum FieldType;
  std::array const order{u8, u16, u32};
  for (FieldType const from : allTypes) {
    for (FieldType const to : allTypes) {
      bool const narrow = std::find(order.begin(), order.end(), from) != order.end();
      bool const wider = narrow && to != f64 && to != text && fieldSize(from) < fieldSize(to);
      EXPECT_EQ(Migration::carries(from, to), from == to || wider)
          << fieldTypeName(from) << " to " << fieldTypeName(to);
    }
  }
}

}  // namespace
}  // namespace Glim
