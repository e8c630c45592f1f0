#include "hardware/linux/port_totals.h"

#include <algorithm>

namespace Hardware::Linux {

using Interface::EthCounter;

std::uint64_t remainder(PortTotals const& totals, PortSplit const& split) {
  std::uint64_t left = totals[split.total];
  for (std::size_t i = 0; i < split.partCount; ++i) left -= totals[split.parts[i]];
  return left;
}

void advanceShown(PortTotals& shown, PortTotals const& counted) {
  PortTotals const before = shown;
  shown = counted;
  for (PortSplit const& split : kPortSplits) {
    std::uint64_t room = counted[split.total] - before[split.total];
    for (std::size_t i = 0; i < split.partCount; ++i) {
      PortField const part = split.parts[i];
      std::uint64_t const step = std::min(counted[part] - before[part], room);
      shown[part] = before[part] + step;
      room -= step;
    }
  }
}

void writeStatistics(PortTotals const& totals, Interface::IntfStatistics& intf,
                     Interface::EthStatistics& eth) {
  for (std::size_t i = 0; i < Interface::kEthCounters; ++i)
    eth.plain[i] = totals[portField(static_cast<EthCounter>(i))];
  eth[EthCounter::internalMacReceiveErrors] = remainder(totals, kPortSplits[2]);
  eth[EthCounter::internalMacTransmitErrors] = remainder(totals, kPortSplits[3]);

  intf.inOctets = totals[PortField::inOctets];
  intf.inUcastPkts = remainder(totals, kPortSplits[0]);
  intf.inMulticastPkts = totals[PortField::inMulticastPkts];
  intf.inBroadcastPkts = totals[PortField::inBroadcastPkts];
  intf.outOctets = totals[PortField::outOctets];
  intf.outUcastPkts = remainder(totals, kPortSplits[1]);
  intf.outMulticastPkts = totals[PortField::outMulticastPkts];
  if (intf.outBroadcastPkts.hasValue())
    intf.outBroadcastPkts = Wib::MaybeU63(totals[PortField::outBroadcastPkts]);
  intf.inDiscards = totals[PortField::inDiscards];
  intf.outDiscards = totals[PortField::outDiscards];
  intf.inErrors = totals[PortField::inErrors];
  intf.outErrors = totals[PortField::outErrors];
}

PortTotals readStatistics(Interface::IntfStatistics const& intf,
                          Interface::EthStatistics const& eth) {
  PortTotals totals;
  for (std::size_t i = 0; i < Interface::kEthCounters; ++i)
    totals[portField(static_cast<EthCounter>(i))] = eth.plain[i];
  totals[portField(EthCounter::internalMacReceiveErrors)] = 0;
  totals[portField(EthCounter::internalMacTransmitErrors)] = 0;

  std::uint64_t const outBroadcasts =
      intf.outBroadcastPkts.hasValue() ? intf.outBroadcastPkts.value() : 0;
  totals[PortField::inOctets] = intf.inOctets;
  totals[PortField::inPkts] = intf.inUcastPkts + intf.inMulticastPkts + intf.inBroadcastPkts;
  totals[PortField::inMulticastPkts] = intf.inMulticastPkts;
  totals[PortField::inBroadcastPkts] = intf.inBroadcastPkts;
  totals[PortField::outOctets] = intf.outOctets;
  totals[PortField::outPkts] = intf.outUcastPkts + intf.outMulticastPkts + outBroadcasts;
  totals[PortField::outMulticastPkts] = intf.outMulticastPkts;
  totals[PortField::outBroadcastPkts] = outBroadcasts;
  totals[PortField::inDiscards] = intf.inDiscards;
  totals[PortField::outDiscards] = intf.outDiscards;
  totals[PortField::inErrors] = Interface::receiveErrorSum(eth);
  totals[PortField::outErrors] = Interface::transmitErrorSum(eth);
  return totals;
}

}  // namespace Hardware::Linux
