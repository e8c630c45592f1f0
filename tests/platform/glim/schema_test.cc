#include "platform/glim/schema.h"

#include <gtest/gtest.h>

#include "platform/glim/row_shape.h"
#include "tests/platform/glim/test_records.h"

namespace Glim {
namespace {

using GlimTest::Middle;

TEST(GlimSchema, ParsesWhatARecordWrites) {
  auto const sut = parseSchema(schemaText<Middle>, sizeof(Middle));
  ASSERT_TRUE(sut.has_value());
  EXPECT_EQ(sut->record, "Middle");
  ASSERT_EQ(sut->fields.size(), 4u);
  EXPECT_EQ(sut->fields[1].name, "counts");
  EXPECT_EQ(sut->fields[1].type, FieldType::u64);
  EXPECT_EQ(sut->fields[1].offset, 48u);
  EXPECT_EQ(sut->fields[1].count, 5u);
}

TEST(GlimSchema, RefusesFieldsBeyondTheRow) {
  EXPECT_FALSE(parseSchema("R\na:u64:8:1\n", 8).has_value());
  EXPECT_FALSE(parseSchema("R\na:u64:0:2\n", 8).has_value());
  EXPECT_FALSE(parseSchema("R\na:u64:18446744073709551615:1\n", 8).has_value());
  EXPECT_FALSE(parseSchema("R\na:u64:0:2305843009213693953\n", 8).has_value());
}

TEST(GlimSchema, RefusesWhatIsNoSchema) {
  for (char const* text : {"", "R", "R\n", "R\na:u64:0\n", "R\na:u65:0:1\n", "R\na:u64:x:1\n",
                           "R\na:u64:0:1", "R\n:u64:0:1\n", "R\na:u64:0:0\n", "R\na:u64:0:1:2\n"}) {
    EXPECT_FALSE(parseSchema(text, 8).has_value()) << text;
  }
}

}  // namespace
}  // namespace Glim
