// The tables that an agent publishes, by interface. Their operations are those of
// Glim::Collection under the names that their writers use.
#pragma once

#include "platform/glim/collection.h"
#include "platform/interface/eth_intf_counter.h"
#include "platform/interface/intf_description.h"

namespace Interface {

// The names of the tables within the agent's directory.
inline constexpr std::string_view kIntfCounters = "intfCounters";
inline constexpr std::string_view kIntfClearCounters = "intfClearCounters";
inline constexpr std::string_view kIntfDescriptions = "intfDescriptions";

// Counters of the Ethernet interfaces; also the kind of the table that holds their values at the
// last clear.
class AllEthIntfCounterGlim : public Glim::Collection<EthIntfCounterGlim> {
 public:
  using Collection::Collection;

  void counterIs(EthIntfCounterGlim const& counter) { write(counter); }
  void counterDel(Pekt::IntfId const& intfId) { remove(intfId); }
  // The row; for an absent one, a row of the interface with zero counters.
  EthIntfCounterGlim counter(Pekt::IntfId const& intfId) {
    EthIntfCounterGlim row;
    bool found = false;
    safeLookup(intfId, found, row);
    if (!found) row.intfId = intfId;
    return row;
  }
};

// What the agent says of each interface.
class AllIntfDescription : public Glim::Collection<IntfDescription> {
 public:
  using Collection::Collection;

  void descriptionIs(IntfDescription const& description) { write(description); }
  void descriptionDel(Pekt::IntfId const& intfId) { remove(intfId); }
};

}  // namespace Interface
