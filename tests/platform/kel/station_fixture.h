// A fixture with a station, a clock and a Config.
#pragma once

#include <gtest/gtest.h>

#include "tests/platform/kel/machines.h"

namespace KelTest {

class StationTest : public testing::Test {
 protected:
  // Its notifications are on; its creation is not in the journal.
  Kel::Ptr<Station> station(Kel::Ptr<Kel::Clock const> const& watched = nullptr) {
    auto const made = Station::StationIs(journal, "s", 5.0, watched);
    journal->taken();
    return made;
  }

  Kel::Ptr<Journal> journal = Kel::make<Journal>();
  Kel::Ptr<Kel::Clock> clock = Kel::make<Kel::Clock>();
  Kel::Ptr<Config> config = Kel::make<Config>();
};

}  // namespace KelTest
