// The rates of the moment, from the totals that were published with two successive samples. The
// rates of a row follow the traffic by minutes, as averages over the agent's load interval do.
#pragma once

#include <map>
#include <string_view>

#include "reader/snapshot.h"

namespace Show {

class LiveRates {
 public:
  // Fills the members measuredRates. An interface has none until it was seen with two samples, and
  // none across a total that fell; it keeps those it has until there is a new sample. Measured is
  // the time between the samples, not that between the calls.
  void see(Snapshot& snapshot);

 private:
  struct Seen {
    Interface::IntfStatistics statistics;
    std::optional<Interface::IntfRates> rates;
  };
  std::map<Pekt::IntfId, Seen> _seen;
};

// What a live table shows: those that were measured, else those of the row.
std::optional<Interface::IntfRates> liveRates(Intf const& intf);

// Which of the two it shows.
std::string_view liveRatesNote(Snapshot const& snapshot);

}  // namespace Show
