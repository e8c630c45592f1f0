#include "reader/text_table.h"

#include <gtest/gtest.h>

#include "tests/reader/made_up.h"

namespace Show {
namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

std::string text(TextTable::Text const& table) {
  std::vector<Line> lines{table.title};
  lines.insert(lines.end(), table.rows.begin(), table.rows.end());
  return plain(lines);
}

class TextTableOfThree : public testing::Test {
 protected:
  TextTableOfThree() {
    sut.add({{{"Ethernet1"}, {"eth0"}, {"12"}}});
    sut.add({{{"Ethernet10"}, {"e"}, {"1234567"}}});
  }
  TextTable sut{{{"Name", kLeft}, {"Device", kLeft, 2}, {"In", kRight}}};
};

TEST_F(TextTableOfThree, ColumnsAreAlignedTwoSpacesApart) {
  EXPECT_EQ("\n" + text(sut.text()), R"(
Name        Device       In
Ethernet1   eth0         12
Ethernet10  e       1234567
)");
}

TEST_F(TextTableOfThree, FillsExactlyTheWidthItNeeds) {
  EXPECT_EQ(sut.text(27).hidden, 0u);
  EXPECT_EQ(sut.text(26).hidden, 1u);
}

TEST_F(TextTableOfThree, HidesTheLeastImportantColumnFirst) {
  EXPECT_EQ("\n" + text(sut.text(20)), R"(
Name             In
Ethernet1        12
Ethernet10  1234567
)");
}

TEST_F(TextTableOfThree, CutsTheFirstColumnWhenNothingElseCanGo) {
  EXPECT_EQ("\n" + text(sut.text(14)), R"(
Name        In
Ethe~       12
Ethe~  1234567
)");
}

TEST(TextTable, AColumnKeepsItsLeastWidth) {
  TextTable sut({{"A", kLeft}, {"B", kRight, 0, 6}});
  sut.add({{{"x"}, {"1"}}});
  EXPECT_EQ("\n" + text(sut.text()), R"(
A       B
x       1
)");
}

TEST(TextTable, ARowsStyleIsThatOfItsCellsWithoutOne) {
  TextTable sut({{"A", kLeft}, {"B", kLeft}});
  sut.add({{{"x"}, {"y", Style::alert}}, Style::dim});
  EXPECT_EQ(ansiText(sut.text().rows[0]), "\033[2mx\033[0m  \033[1;31my\033[0m");
}

TEST(TextTable, CountsCharactersRatherThanBytes) {
  TextTable sut({{"A", kLeft}, {"B", kLeft}});
  sut.add({{{"größe"}, {"1"}}});
  EXPECT_EQ("\n" + text(sut.text()), R"(
A      B
größe  1
)");
}

}  // namespace
}  // namespace Show
