// The examples of docs/table-format.md, which readers in other languages are tried with.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <numeric>
#include <string_view>

#include "platform/glim/layout.h"
#include "platform/glim/record.h"
#include "platform/glim/row_words.h"
#include "platform/interface/drop_counter.h"
#include "platform/pekt/intf_id.h"

namespace Glim {
namespace {

constexpr std::string_view schema = "DropCounter\nintfId:text:0:48\naclDropPkts:u64:48:1\n";
constexpr bool littleEndian = std::endian::native == std::endian::little;

TEST(FormatExamples, TheSchemaIsThatOfTheDropCounters) {
  EXPECT_EQ(schemaText<Glim::Interface::DropCounter>, schema);
}

TEST(FormatExamples, TheHashOfASchema) { EXPECT_EQ(schemaHashOf(schema), 0xa2e1fe3d1afea0c2u); }

TEST(FormatExamples, TheChecksumOfAHeader) {
  if (!littleEndian) GTEST_SKIP() << "the magic is another word here";
  auto const geometry = Layout::Geometry::make(7, 48, 16384, schema.size());
  ASSERT_TRUE(geometry);
  auto const fixed = Layout::makeFixedWords(*geometry, schema, schemaHashOf(schema), 0);
  EXPECT_EQ(fixed[Layout::fixedChecksum], 0x3565754013366eaau);
}

TEST(FormatExamples, TheChecksumAndMetaWordOfARow) {
  std::array<Word, 10> row;
  std::iota(row.begin(), row.end(), Word{1});
  Word const seed = Layout::rowSeed(3, 7, Layout::rowLive);
  EXPECT_EQ(seed, 0xbedec8a51063f691u);
  Word const sum = RowWords::checksum(row.data(), row.size(), seed);
  EXPECT_EQ(sum, 0x22a22fc2f261bc16u);
  EXPECT_EQ(Layout::metaOf(sum, Layout::rowLive), 0x22a22fc2f261bc15u);
}

TEST(FormatExamples, TheMetaWordOfADeadRow) {
  Word const sum = RowWords::checksum(nullptr, 0, Layout::rowSeed(3, 8, Layout::rowDead));
  EXPECT_EQ(Layout::metaOf(sum, Layout::rowDead), 0x66babd8c1ae255bau);
}

TEST(FormatExamples, TheHashOfAnInterfacesNameAndItsFirstBucket) {
  if (!littleEndian) GTEST_SKIP() << "the words of a name are others here";
  std::uint32_t const hash = Pekt::IntfId("Ethernet1").hash();
  EXPECT_EQ(hash, 0xf769a59eu);
  EXPECT_EQ(Layout::homeBucket(hash, 32768), 17100u);
}

}  // namespace
}  // namespace Glim
