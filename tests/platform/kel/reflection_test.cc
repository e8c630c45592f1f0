// State machines reached by the names of their attributes.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>

#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"
#include "platform/kel/type_node.h"
#include "tests/platform/kel/station_fixture.h"

namespace KelTest {
namespace {

using Kel::AttributeKind;
using Kel::AttributeOp;
using Kel::GenericIfImpl;
using Kel::OpNotSupportedException;
using Kel::Ptr;
using Kel::RangeException;

class Reflection : public StationTest {
 protected:
  using Texts = std::vector<std::string>;

  Kel::AttributeResult op(bool isConst, std::string_view attribute, AttributeOp what,
                          Texts const& arguments = {}) {
    return GenericIfImpl::genericIfAttributeOp(*sut, isConst, attribute, what, arguments);
  }
  // The text of the range error of an invocation.
  std::string rangeError(std::string_view operation, Texts const& arguments) {
    try {
      Kel::invoke(*sut, operation, arguments);
    } catch (RangeException const& e) {
      return e.what();
    }
    return "no range error";
  }

  Ptr<Station> sut = station(clock);
};

TEST_F(Reflection, ReadsEachKindOfItem) {
  EXPECT_EQ(Kel::read(*sut, "journal"), Kel::valueToStrepOfRawPtr(journal.get()));
  EXPECT_EQ(Kel::read(*sut, "name"), "s");
  EXPECT_EQ(Kel::read(*sut, "period"), "5");
  EXPECT_EQ(Kel::read(*sut, "clock"), Kel::valueToStrepOfRawPtr(clock.get()));
  EXPECT_EQ(Kel::read(*sut, "config"), "null");
  EXPECT_EQ(Kel::read(*sut, "limit"), "0");
  EXPECT_EQ(Kel::read(*sut, "label"), "fixed");
}

TEST_F(Reflection, SetsAValueThatHasASetter) {
  Kel::set(*sut, "limit", "-12");
  EXPECT_EQ(sut->limit(), -12);
  EXPECT_EQ(Kel::read(*sut, "limit"), "-12");
}

TEST_F(Reflection, RefusesToSetWhatHasNoSetter) {
  for (char const* const attribute :
       {"journal", "name", "period", "clock", "config", "label", "child", "handleTime"})
    EXPECT_THROW(Kel::set(*sut, attribute, "1"), OpNotSupportedException) << attribute;
}

TEST_F(Reflection, RefusesATextThatIsNotWhollyAValue) {
  sut->limitIs(3);
  for (char const* const text : {"", "x", "1x", "1 ", " 1", "1.5", "0x10", "99999999999"})
    EXPECT_THROW(Kel::set(*sut, "limit", text), RangeException) << '"' << text << '"';
  EXPECT_EQ(sut->limit(), 3);
}

TEST_F(Reflection, RefusesUnknownNames) {
  EXPECT_THROW(Kel::read(*sut, "nothing"), OpNotSupportedException);
  EXPECT_THROW(Kel::set(*sut, "nothing", "1"), OpNotSupportedException);
  EXPECT_THROW(Kel::invoke(*sut, "nothing"), OpNotSupportedException);
  EXPECT_THROW(Kel::iterKey(*sut, "nothing"), OpNotSupportedException);
  EXPECT_THROW(Kel::iterObj(*sut, "nothing", "a"), OpNotSupportedException);
  EXPECT_THROW(Kel::iterDel(*sut, "nothing", "a"), OpNotSupportedException);
  EXPECT_THROW(Kel::read(*sut, ""), OpNotSupportedException);
}

TEST_F(Reflection, InvokesAnOperationWithItsArguments) {
  Kel::invoke(*sut, "handleTime");
  Kel::invoke(*sut, "handlePair", {"-3", "2.5"});
  EXPECT_EQ(journal->lines(), (Lines{"handleTime", "handlePair -3 2.5"}));
}

TEST_F(Reflection, PicksTheFormOfAnOperationByItsNumberOfArguments) {
  Kel::invoke(*sut, "handlePort", {"p1"});
  Kel::invoke(*sut, "handlePort");
  EXPECT_EQ(journal->lines(), (Lines{"handlePort p1", "handlePort"}));
}

TEST_F(Reflection, RefusesAWrongNumberOfArguments) {
  EXPECT_EQ(rangeError("handlePair", {"1"}), "handlePair takes 2 arguments, not 1");
  EXPECT_EQ(rangeError("handlePort", {"a", "b"}), "handlePort takes 0 or 1 arguments, not 2");
  EXPECT_THROW(op(false, "limit", AttributeOp::set), RangeException);
  EXPECT_THROW(op(false, "limit", AttributeOp::set, {"1", "2"}), RangeException);
  EXPECT_THROW(op(false, "child", AttributeOp::iterObj), RangeException);
  EXPECT_THROW(op(false, "child", AttributeOp::iterDel, {"a", "b"}), RangeException);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Reflection, RefusesArgumentsWhereNoneAreTaken) {
  EXPECT_THROW(op(false, "limit", AttributeOp::read, {"1"}), RangeException);
  EXPECT_THROW(op(false, "child", AttributeOp::iterKey, {"1"}), RangeException);
  EXPECT_THROW(op(false, "child", AttributeOp::iterNonnull, {"1"}), RangeException);
}

TEST_F(Reflection, RefusesAnArgumentThatCannotBeRead) {
  EXPECT_EQ(rangeError("handlePair", {"x", "2.5"}), "cannot read \"x\"");
  EXPECT_EQ(rangeError("handlePair", {"3", ""}), "cannot read \"\"");
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Reflection, RefusesAnOperationOfAnotherKind) {
  EXPECT_THROW(Kel::read(*sut, "handleTime"), OpNotSupportedException);
  EXPECT_THROW(Kel::read(*sut, "child"), OpNotSupportedException);
  EXPECT_THROW(Kel::invoke(*sut, "limit"), OpNotSupportedException);
  EXPECT_THROW(Kel::iterKey(*sut, "limit"), OpNotSupportedException);
  EXPECT_THROW(Kel::iterObj(*sut, "limit", "a"), OpNotSupportedException);
  EXPECT_THROW(Kel::iterDel(*sut, "limit", "a"), OpNotSupportedException);
  EXPECT_THROW(op(true, "limit", AttributeOp::iterNonnull), OpNotSupportedException);
}

TEST_F(Reflection, IteratesOverACollection) {
  EXPECT_EQ(op(true, "child", AttributeOp::iterNonnull).texts, (Texts{"false"}));
  EXPECT_EQ(Kel::iterKey(*sut, "child"), Texts{});
  auto const a = sut->childIs("a");
  sut->childIs("b");
  sut->otherIs("o");
  EXPECT_EQ(op(true, "child", AttributeOp::iterNonnull).texts, (Texts{"true"}));
  auto keys = Kel::iterKey(*sut, "child");
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keys, (Texts{"a", "b"}));
  EXPECT_EQ(Kel::iterObj(*sut, "child", "a"), a);
  EXPECT_EQ(Kel::iterObj(*sut, "child", "o"), nullptr);
}

TEST_F(Reflection, DeletesAMember) {
  sut->childIs("a");
  Kel::iterDel(*sut, "child", "b");
  EXPECT_TRUE(sut->child("a"));
  Kel::iterDel(*sut, "child", "a");
  EXPECT_EQ(sut->child("a"), nullptr);
}

TEST_F(Reflection, ReachesAChildThroughItsOwner) {
  sut->childIs("a");
  EXPECT_EQ(Kel::read(*Kel::iterObj(*sut, "child", "a"), "name"), "a");
}

TEST_F(Reflection, RefusesToChangeAConstObject) {
  sut->childIs("a");
  journal->taken();
  EXPECT_THROW(op(true, "limit", AttributeOp::set, {"1"}), OpNotSupportedException);
  EXPECT_THROW(op(true, "handleTime", AttributeOp::invoke), OpNotSupportedException);
  EXPECT_THROW(op(true, "child", AttributeOp::iterDel, {"a"}), OpNotSupportedException);
  EXPECT_EQ(sut->limit(), 0);
  EXPECT_EQ(journal->lines(), Lines{});
  EXPECT_TRUE(sut->child("a"));
  EXPECT_EQ(op(true, "limit", AttributeOp::read).texts, (Texts{"0"}));
}

TEST_F(Reflection, RefusesAnObjectWithoutATypeNode) {
  EXPECT_THROW(Kel::read(*config, "mode"), OpNotSupportedException);
}

TEST_F(Reflection, PassesOnWhatAnOperationThrows) {
  journal->on("handleTime", [] { throw std::logic_error("broken"); });
  EXPECT_THROW(Kel::invoke(*sut, "handleTime"), std::logic_error);
}

// A machine with an operation and a setter that require something.
class Gate : public Kel::StateMachine<Gate, Kel::ReactorOwner> {
 public:
  void pass(int size, Kel::String who) { passed.push_back(who.str() + std::to_string(size)); }
  static std::string passRefusal(Gate const& gate, int const& size, Kel::String const& who) {
    return size > gate.width ? who.str() + " is too wide" : "";
  }
  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::Gate",
                         Kel::value("width", &Gate::width, &Gate::widthIs, &Gate::widthRefusal),
                         Kel::operation("pass", &Gate::pass, &Gate::passRefusal));
  }
  void widthIs(int w) { width = w; }
  static std::string widthRefusal(Gate const& gate, int const& w) {
    return w < gate.width ? "a gate does not shrink to " + std::to_string(w) : "";
  }
  static Kel::TypeNode const _kelType;

  int width = 3;
  std::vector<std::string> passed;
};
constinit Kel::TypeNode const Gate::_kelType = Kel::typeNode<Gate>();

TEST(ReflectionOfRequirements, AsksAnOperationWhetherItMayBeRunSo) {
  auto const sut = Kel::instance<Gate>();
  Kel::invoke(*sut, "pass", {"3", "cat"});
  try {
    Kel::invoke(*sut, "pass", {"4", "cow"});
    ADD_FAILURE() << "it was run";
  } catch (RangeException const& error) {
    EXPECT_STREQ(error.what(), "cow is too wide");
  }
  EXPECT_EQ(sut->passed, std::vector<std::string>{"cat3"});
}

TEST(ReflectionOfRequirements, AsksASetterWhetherItMayBeGivenAValue) {
  auto const sut = Kel::instance<Gate>();
  Kel::set(*sut, "width", "4");
  try {
    Kel::set(*sut, "width", "2");
    ADD_FAILURE() << "it was set";
  } catch (RangeException const& error) {
    EXPECT_STREQ(error.what(), "a gate does not shrink to 2");
  }
  EXPECT_EQ(Kel::read(*sut, "width"), "4");
}

TEST(ReflectionOfRequirements, AsksNothingWhereTheArgumentsCannotBeRead) {
  auto const sut = Kel::instance<Gate>();
  EXPECT_THROW(Kel::invoke(*sut, "pass", {"wide", "cow"}), RangeException);
  EXPECT_THROW(Kel::invoke(*sut, "pass", {"4"}), RangeException);
}

// A machine with an order that takes an object, which tools name.
class Dock : public Kel::StateMachine<Dock, Kel::ReactorOwner> {
 public:
  void shipIs(Kel::Ptr<Config> const& ship, Kel::String berth) {
    ships.push_back(ship);
    berths.push_back(berth.str());
  }
  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::Dock", Kel::operation("shipIs", &Dock::shipNamed),
                         Kel::operation("shipIs", &Dock::anyShip));
  }
  static Kel::TypeNode const _kelType;

  std::map<std::string, Kel::Ptr<Config>> known{{"ark", Kel::make<Config>()}};
  std::vector<Kel::Ptr<Config>> ships;
  std::vector<std::string> berths;

 private:
  static void shipNamed(Dock& dock, Kel::Name const& name, Kel::String berth) {
    auto const at = dock.known.find(std::string(name.view()));
    if (at == dock.known.end()) Kel::throwRangeException("no such ship");
    dock.shipIs(at->second, berth);
  }
  static void anyShip(Dock& dock) { dock.shipIs(dock.known.begin()->second, "any"); }
};
constinit Kel::TypeNode const Dock::_kelType = Kel::typeNode<Dock>();

TEST(ReflectionOfAdapters, CallsTheAdapterOfItsNumberOfArguments) {
  auto const sut = Kel::instance<Dock>();
  Kel::invoke(*sut, "shipIs", {"ark", "north"});
  Kel::invoke(*sut, "shipIs");
  EXPECT_EQ(sut->ships, (std::vector{sut->known["ark"], sut->known["ark"]}));
  EXPECT_EQ(sut->berths, (std::vector<std::string>{"north", "any"}));
}

TEST(ReflectionOfAdapters, PassesOnWhatTheAdapterDoesNotFind) {
  auto const sut = Kel::instance<Dock>();
  EXPECT_THROW(Kel::invoke(*sut, "shipIs", {"raft", "north"}), RangeException);
  EXPECT_THROW(Kel::invoke(*sut, "shipIs", {"ark"}), RangeException);
  EXPECT_TRUE(sut->ships.empty());
}

}  // namespace
}  // namespace KelTest
