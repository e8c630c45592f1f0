#include "tests/platform/kel/machines.h"

namespace KelTest {

constinit Kel::TypeNode const Child::_kelType = Kel::typeNode<Child>();
constinit Kel::TypeNode const Station::_kelType = Kel::typeNode<Station>();

Station::Station(Kel::Ptr<Journal> const& journal, Kel::Name const& name, double period,
                 Kel::Ptr<Kel::Clock const> const& clock)
    : _journal(journal),
      _name(name),
      _period(period),
      _first(Kel::make<Tombstone>(journal, "first member")),
      _clock(*this, clock),
      _last(Kel::make<Tombstone>(journal, "last member")) {}

Station::~Station() { note("~station"); }

void Station::handlePair(int a, double b) {
  std::ostringstream line;
  line << "handlePair " << a << ' ' << b;
  note(line.str());
}

}  // namespace KelTest
