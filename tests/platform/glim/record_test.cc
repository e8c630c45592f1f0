#include "platform/glim/record.h"

#include <gtest/gtest.h>

#include "platform/glim/row_shape.h"
#include "tests/platform/glim/test_records.h"

namespace Glim {
namespace {

using GlimTest::Middle;
using GlimTest::Small;
using GlimTest::WiderSmall;

TEST(GlimRecord, SchemaTextIsTheNameAndOneFieldALine) {
  EXPECT_EQ(schemaText<Middle>,
            "Middle\nkey:text:0:48\ncounts:u64:48:5\nvalid:u32:88:1\nreserved:u32:92:1\n");
}

TEST(GlimRecord, SchemaHashIsThatOfTheText) {
  EXPECT_EQ(schemaHash<Middle>, schemaHashOf(schemaText<Middle>));
  EXPECT_NE(schemaHash<Small>, schemaHash<WiderSmall>);
}

TEST(GlimRecord, TheKeyStandsFirst) { EXPECT_TRUE(keyStandsFirst<OpsOf<Middle>>()); }

}  // namespace
}  // namespace Glim
