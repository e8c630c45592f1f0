#include "platform/kel/type_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/kel/machines.h"

namespace KelTest {
namespace {

using Kel::AttributeKind;

TEST(TypeNode, ListsTheAttributesInDeclarationOrderWithTheirKinds) {
  struct Row {
    std::string name;
    AttributeKind kind;
    std::size_t arity;
    bool operator==(Row const&) const = default;
  };
  std::vector<Row> rows;
  for (Kel::Attribute const& a : Station::_kelType.attributes())
    rows.push_back({std::string(a.name), a.kind, a.arity});
  EXPECT_EQ(rows, (std::vector<Row>{{"journal", AttributeKind::parameter, 0},
                                    {"name", AttributeKind::key, 0},
                                    {"period", AttributeKind::parameter, 0},
                                    {"clock", AttributeKind::input, 0},
                                    {"config", AttributeKind::input, 0},
                                    {"limit", AttributeKind::value, 0},
                                    {"label", AttributeKind::value, 0},
                                    {"child", AttributeKind::collection, 0},
                                    {"other", AttributeKind::collection, 0},
                                    {"handleTime", AttributeKind::operation, 0},
                                    {"handlePort", AttributeKind::operation, 0},
                                    {"handlePort", AttributeKind::operation, 1},
                                    {"handlePair", AttributeKind::operation, 2}}));
}

TEST(TypeNode, IsAnsweredByEachObjectOfTheType) {
  auto const journal = Kel::make<Journal>();
  auto const child = Kel::instance<Child>(journal, Kel::Name("a"));
  EXPECT_EQ(child->fwkType(), &Child::_kelType);
  EXPECT_EQ(child->fwkType()->name(), "KelTest::Child");
}

TEST(TypeNode, RegistersInOrder) {
  std::size_t const before = Kel::typeNodes().size();
  Kel::typeNodeIs(Station::_kelType);
  Kel::typeNodeIs(Child::_kelType);
  auto const nodes = Kel::typeNodes();
  ASSERT_EQ(nodes.size(), before + 2);
  EXPECT_EQ(nodes[before], &Station::_kelType);
  EXPECT_EQ(nodes[before + 1], &Child::_kelType);
  Kel::typeNodeDel(Station::_kelType);
  Kel::typeNodeDel(Child::_kelType);
}

TEST(UnitTypes, AreRegisteredInOrderWhileTheUnitIsThere) {
  std::size_t const before = Kel::typeNodes().size();
  {
    Kel::UnitTypes const unit{&Child::_kelType, &Station::_kelType};
    auto const nodes = Kel::typeNodes();
    ASSERT_EQ(nodes.size(), before + 2);
    EXPECT_EQ(nodes[before], &Child::_kelType);
    EXPECT_EQ(nodes[before + 1], &Station::_kelType);
    EXPECT_EQ(Kel::registeredType("KelTest::Station"), &Station::_kelType);
  }
  EXPECT_EQ(Kel::typeNodes().size(), before);
  EXPECT_EQ(Kel::registeredType("KelTest::Station"), nullptr);
}

}  // namespace
}  // namespace KelTest
