// A member that is set again: found where its constructor's parameters are the same, refused where
// one differs.
#include <gtest/gtest.h>

#include <array>
#include <ostream>

#include "platform/kel/exceptions.h"
#include "tests/platform/kel/station_fixture.h"

namespace KelTest {
namespace {

using Kel::Ptr;

struct Range {
  int low = 0, high = 0;
  bool operator==(Range const&) const = default;
  friend std::ostream& operator<<(std::ostream& out, Range const& r) {
    return out << "low " << r.low << " high " << r.high;
  }
};

// One parameter of each kind that is compared.
class Filed : public Kel::StateMachine<Filed, Kel::ReactorOwner> {
 public:
  Filed(Ptr<Child const> const& model, Kel::Name const& name, Range const& range, double period)
      : _model(model), _name(name), _range(range), _period(period) {}

  Range const& range() const { return _range; }
  double period() const { return _period; }

  static constexpr auto kelDescription() {
    using Sm = Filed;
    return Kel::describe("KelTest::Filed", Kel::parameter("model", &Sm::_model),
                         Kel::key("name", &Sm::_name), Kel::parameter("range", &Sm::range),
                         Kel::parameter("period", &Sm::_period));
  }
  static Kel::TypeNode const _kelType;

 private:
  Ptr<Child const> _model;
  Kel::Name _name;
  Range _range;
  double _period;
};
constinit Kel::TypeNode const Filed::_kelType = Kel::typeNode<Filed>();

struct PeriodFirst {
  static constexpr std::array<std::string_view, 3> names{"period", "model", "range"};
};

class Reinstantiation : public StationTest {
 protected:
  Ptr<Filed> filedIs(Ptr<Child const> const& withModel, Range const& range, double period) {
    return sut.newMember("a", withModel, Kel::Name("a"), range, period);
  }
  std::string refusal(Ptr<Child const> const& withModel, Range const& range, double period) {
    try {
      filedIs(withModel, range, period);
    } catch (Kel::NameInUseException const& e) {
      return e.what();
    }
    return "not refused";
  }
  static std::string text(std::string const& attribute, std::string const& wanted,
                          std::string const& current) {
    return "Reinstantiating the pointer interface where constructor parameter attribute " +
           attribute + " has a different value of " + wanted + " than the current value of " +
           current + " not allowed";
  }

  Ptr<Child const> model = Kel::instance<Child>(journal, Kel::Name("model"));
  Ptr<Child const> other = Kel::instance<Child>(journal, Kel::Name("other"));
  Kel::HashMap<Filed, Kel::Name> sut;
};

TEST_F(Reinstantiation, WithEqualParametersReturnsTheMember) {
  auto const made = filedIs(model, {1, 9}, 5.0);
  EXPECT_EQ(filedIs(model, {1, 9}, 5.0), made);
  EXPECT_EQ(sut.size(), 1u);
}

TEST_F(Reinstantiation, WithAnotherValueIsRefusedToTheLetter) {
  filedIs(model, {1, 9}, 5.0);
  EXPECT_EQ(refusal(model, {1, 9}, 2.5),
            "Reinstantiating the pointer interface where constructor parameter attribute _period "
            "has a different value of 2.5 than the current value of 5 not allowed");
}

TEST_F(Reinstantiation, WithAnotherPointerNamesBothByTypeAndAddress) {
  filedIs(model, {1, 9}, 5.0);
  auto const printed = [](Ptr<Child const> const& p) {
    std::ostringstream out;
    out << "KelTest::Child@" << static_cast<void const*>(p.get());
    return out.str();
  };
  EXPECT_EQ(refusal(other, {1, 9}, 5.0), text("_model", printed(other), printed(model)));
  EXPECT_EQ(refusal(nullptr, {1, 9}, 5.0), text("_model", "null", printed(model)));
}

TEST_F(Reinstantiation, WithAnotherRecordPrintsBoth) {
  filedIs(model, {1, 9}, 5.0);
  EXPECT_EQ(refusal(model, {2, 9}, 5.0), text("_range", "low 2 high 9", "low 1 high 9"));
}

TEST_F(Reinstantiation, NamesTheFirstDifferenceInDeclarationOrder) {
  filedIs(model, {1, 9}, 5.0);
  EXPECT_EQ(refusal(model, {2, 9}, 2.5), text("_range", "low 2 high 9", "low 1 high 9"));
  EXPECT_TRUE(refusal(other, {2, 9}, 2.5).find("_model") != std::string::npos);
}

TEST_F(Reinstantiation, NamesTheFirstDifferenceInTheOrderThatItsCollectionStates) {
  Kel::HashMap<Filed, Kel::Name, PeriodFirst> members;
  auto const wanted = [&](Ptr<Child const> const& withModel, Range const& range, double period) {
    try {
      members.newMember("a", withModel, Kel::Name("a"), range, period);
    } catch (Kel::NameInUseException const& e) {
      return std::string(e.what());
    }
    return std::string("not refused");
  };
  EXPECT_EQ(wanted(model, {1, 9}, 5.0), "not refused");
  EXPECT_EQ(wanted(model, {1, 9}, 5.0), "not refused");
  EXPECT_EQ(wanted(other, {2, 9}, 2.5), text("_period", "2.5", "5"));
  EXPECT_TRUE(wanted(other, {2, 9}, 5.0).find("attribute _model ") != std::string::npos);
  EXPECT_EQ(wanted(model, {2, 9}, 5.0), text("_range", "low 2 high 9", "low 1 high 9"));
}

TEST_F(Reinstantiation, RefusedLeavesTheMemberAsItWas) {
  auto const made = filedIs(model, {1, 9}, 5.0);
  refusal(model, {2, 9}, 2.5);
  EXPECT_EQ(sut.member("a"), made);
  EXPECT_EQ(made->range(), (Range{1, 9}));
  EXPECT_EQ(made->period(), 5.0);
  EXPECT_TRUE(made->hasNotificationActive());
  EXPECT_EQ(made->references(), 2u);
}

TEST_F(Reinstantiation, DoesNotCompareTheKey) {
  auto const made = filedIs(model, {1, 9}, 5.0);
  EXPECT_EQ(sut.newMember("a", model, Kel::Name("b"), Range{1, 9}, 5.0), made);
}

TEST_F(Reinstantiation, UnderAnotherKeyIsAnotherMember) {
  auto const made = filedIs(model, {1, 9}, 5.0);
  EXPECT_NE(sut.newMember("b", model, Kel::Name("b"), Range{2, 9}, 2.5), made);
  EXPECT_EQ(sut.size(), 2u);
}

TEST_F(Reinstantiation, ComparesAWatchedParameterWithWhatIsWatchedNow) {
  Kel::HashMap<Station, Kel::Name> stations;
  Ptr<Kel::Clock const> const first(clock), second(Kel::make<Kel::Clock>());
  auto const made = stations.newMember("a", journal, Kel::Name("a"), 5.0, first);
  EXPECT_EQ(stations.newMember("a", journal, Kel::Name("a"), 5.0, first), made);
  made->clockIs(second);
  EXPECT_EQ(stations.newMember("a", journal, Kel::Name("a"), 5.0, second), made);
  try {
    stations.newMember("a", journal, Kel::Name("a"), 5.0, first);
    FAIL() << "not refused";
  } catch (Kel::NameInUseException const& e) {
    EXPECT_EQ(e.what(), text("_clock", Kel::valueToStrepOfRawPtr(first.get()),
                             Kel::valueToStrepOfRawPtr(second.get())));
  }
}

TEST_F(Reinstantiation, AfterDeletionMakesANewMember) {
  filedIs(model, {1, 9}, 5.0);
  sut.deleteMember("a");
  EXPECT_EQ(filedIs(other, {2, 9}, 2.5)->period(), 2.5);
}

}  // namespace
}  // namespace KelTest
