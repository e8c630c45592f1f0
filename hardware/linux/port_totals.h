#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/interface/eth_counters.h"
#include "platform/interface/statistics.h"

namespace Hardware::Linux {

/// What is counted of a port in the kernel's terms: packets of all kinds together and errors of all
/// classes together, where the published records have one counter a kind and a class. The Ethernet
/// counters follow in the order of `Interface::EthCounter`.
enum class PortField : std::uint8_t {
  inOctets,
  inPkts,  // unicast, multicast and broadcast
  inMulticastPkts,
  inBroadcastPkts,
  outOctets,
  outPkts,
  outMulticastPkts,
  outBroadcastPkts,
  inDiscards,
  outDiscards,
  inErrors,   // all receive error classes
  outErrors,  // all transmit error classes
  firstEthCounter,
};
inline constexpr std::size_t kPortFields =
    static_cast<std::size_t>(PortField::firstEthCounter) + Interface::kEthCounters;

constexpr PortField portField(Interface::EthCounter counter) {
  return static_cast<PortField>(static_cast<std::size_t>(PortField::firstEthCounter) +
                                static_cast<std::size_t>(counter));
}

/// One count a field, modulo 2^64. The two internal MAC error counters have no field: they are what
/// the totals count beyond the other classes; neither has unicast, what the packets are beyond the
/// other kinds.
struct PortTotals {
  std::array<std::uint64_t, kPortFields> counts{};

  std::uint64_t operator[](PortField f) const { return counts[static_cast<std::size_t>(f)]; }
  std::uint64_t& operator[](PortField f) { return counts[static_cast<std::size_t>(f)]; }
  bool operator==(PortTotals const&) const = default;
};

/// A set of fields.
class PortFields {
 public:
  constexpr bool contains(PortField f) const { return (_bits >> index(f) & 1U) != 0; }
  constexpr void insert(PortField f) { _bits |= std::uint64_t{1} << index(f); }
  constexpr PortFields& operator|=(PortFields other) {
    _bits |= other._bits;
    return *this;
  }
  bool operator==(PortFields const&) const = default;

 private:
  static constexpr unsigned index(PortField f) { return static_cast<unsigned>(f); }
  static_assert(kPortFields <= 64);
  std::uint64_t _bits = 0;
};

/// A total that falls into parts, and what remains of it is a counter of its own.
struct PortSplit {
  PortField total;
  std::array<PortField, 4> parts;
  std::size_t partCount;
};
inline constexpr std::array<PortSplit, 4> kPortSplits{{
    {PortField::inPkts, {PortField::inMulticastPkts, PortField::inBroadcastPkts}, 2},
    {PortField::outPkts, {PortField::outMulticastPkts, PortField::outBroadcastPkts}, 2},
    {PortField::inErrors,
     {portField(Interface::EthCounter::alignmentErrors),
      portField(Interface::EthCounter::fcsErrors), portField(Interface::EthCounter::frameTooLongs),
      portField(Interface::EthCounter::frameTooShorts)},
     4},
    {PortField::outErrors,
     {portField(Interface::EthCounter::sqeTestErrors),
      portField(Interface::EthCounter::lateCollisions),
      portField(Interface::EthCounter::excessiveCollisions),
      portField(Interface::EthCounter::carrierSenseErrors)},
     4},
}};

/// What the total counts beyond its parts.
std::uint64_t remainder(PortTotals const& totals, PortSplit const& split);

/// Take `shown` on to `counted`, so that every counter that is shown, the remainders included, only
/// grows and totals and parts always agree. The kernel reads its counters one after another: a part
/// may run ahead of its total, and then waits until the total has caught up.
void advanceShown(PortTotals& shown, PortTotals const& counted);

/// The published counters that these totals amount to, and back. Both error totals equal the sums
/// of their classes. Optional counters, arrays and the time are left as they are.
void writeStatistics(PortTotals const& totals, Interface::IntfStatistics& intf,
                     Interface::EthStatistics& eth);
PortTotals readStatistics(Interface::IntfStatistics const& intf,
                          Interface::EthStatistics const& eth);

}  // namespace Hardware::Linux
