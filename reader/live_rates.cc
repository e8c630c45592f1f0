#include "reader/live_rates.h"

#include <algorithm>

#include "reader/counters.h"

namespace Show {

namespace {

std::optional<Interface::IntfRates> measured(Interface::IntfStatistics const& before,
                                             Interface::IntfStatistics const& now) {
  // An average that was just seeded counts its first interval whole.
  Interface::IntfRates const seed{.lastUpdate = before.lastUpdate, .seeded = before.lastUpdate};
  auto const rates =
      Interface::updateIntfMovingAverages(seed, now - before, now.lastUpdate, {}, {});
  return rates.lastUpdate > rates.seeded ? std::optional(rates) : std::nullopt;
}

}  // namespace

void LiveRates::see(Snapshot& snapshot) {
  for (Intf& intf : snapshot.interfaces) {
    intf.measuredRates.reset();
    if (!intf.counters || !(intf.counters->statistics.lastUpdate > 0.0) || gone(intf)) {
      _seen.erase(intf.intfId);
      continue;
    }
    Interface::IntfStatistics const& now = intf.counters->statistics;
    auto const [at, first] = _seen.try_emplace(intf.intfId, Seen{now, std::nullopt});
    Seen& seen = at->second;
    if (!first && now.lastUpdate != seen.statistics.lastUpdate)
      seen = {now, measured(seen.statistics, now)};
    intf.measuredRates = seen.rates;
  }
}

std::optional<Interface::IntfRates> liveRates(Intf const& intf) {
  return intf.measuredRates ? intf.measuredRates : rates(intf);
}

std::string_view liveRatesNote(Snapshot const& snapshot) {
  bool const any = std::any_of(snapshot.interfaces.begin(), snapshot.interfaces.end(),
                               [](Intf const& intf) { return intf.measuredRates.has_value(); });
  return any ? "rates from poll to poll" : "rates averaged over the load interval";
}

}  // namespace Show
