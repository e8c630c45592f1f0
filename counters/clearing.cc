// Clearing: the current row is copied beside the live one, which goes on
// counting.
#include "counters/counters_sm.h"
#include "counters/pollers/unit.h"
#include "platform/interface/counter_tables.h"

namespace Oru::Counters {

void CountersSm::doClearCounters(Kel::String request) {
  if (auto t = trace(8))
    t << "virtual void Oru::Counters::CountersSm::doClearCounters(Kel::String) " << request;
  if (auto const live = allIntfCounters()) {
    if (request == "all") {
      live->forEach([&](auto const& row) { allIntfClearCounters()->counterIs(row); });
    } else {
      if (!Pekt::IntfId::isName(request.view())) return;  // no interface's at all
      Pekt::IntfId const intfId(request);
      if (!Pekt::EthIntfId::isEthIntfId(intfId)) return;  // the helper is not told
      allIntfClearCounters()->counterIs(live->counter(intfId));
    }
  }
  platformHelper()->doClearCounters(request);
}

}  // namespace Oru::Counters
