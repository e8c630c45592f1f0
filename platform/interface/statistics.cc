#include "platform/interface/statistics.h"

#include <algorithm>
#include <functional>
#include <ostream>

#include "platform/kel/strep.h"

namespace Interface {
namespace {

template <class Op>
IntfStatistics combined(IntfStatistics const& a, IntfStatistics const& b, Op op) {
  return {.inOctets = op(a.inOctets, b.inOctets),
          .inUcastPkts = op(a.inUcastPkts, b.inUcastPkts),
          .inMulticastPkts = op(a.inMulticastPkts, b.inMulticastPkts),
          .inBroadcastPkts = op(a.inBroadcastPkts, b.inBroadcastPkts),
          .outOctets = op(a.outOctets, b.outOctets),
          .outUcastPkts = op(a.outUcastPkts, b.outUcastPkts),
          .outMulticastPkts = op(a.outMulticastPkts, b.outMulticastPkts),
          .outBroadcastPkts = op(a.outBroadcastPkts, b.outBroadcastPkts),
          .inDiscards = op(a.inDiscards, b.inDiscards),
          .outDiscards = op(a.outDiscards, b.outDiscards),
          .inErrors = op(a.inErrors, b.inErrors),
          .inUnknownProtos = op(a.inUnknownProtos, b.inUnknownProtos),
          .outErrors = op(a.outErrors, b.outErrors),
          .lastUpdate = std::max(a.lastUpdate, b.lastUpdate)};
}

}  // namespace

IntfStatistics operator-(IntfStatistics const& a, IntfStatistics const& b) {
  return combined(a, b, std::minus<>());
}
IntfStatistics operator+(IntfStatistics const& a, IntfStatistics const& b) {
  return combined(a, b, std::plus<>());
}

std::ostream& operator<<(std::ostream& out, IntfStatistics const& s) {
  return out << "inOctets " << s.inOctets << " inUcastPkts " << s.inUcastPkts << " inMulticastPkts "
             << s.inMulticastPkts << " inBroadcastPkts " << s.inBroadcastPkts << " outOctets "
             << s.outOctets << " outUcastPkts " << s.outUcastPkts << " outMulticastPkts "
             << s.outMulticastPkts << " outBroadcastPkts " << s.outBroadcastPkts << " inDiscards "
             << s.inDiscards << " outDiscards " << s.outDiscards << " inErrors " << s.inErrors
             << " inUnknownProtos " << s.inUnknownProtos << " outErrors " << s.outErrors
             << " lastUpdate " << Kel::toStrep(s.lastUpdate);
}

}  // namespace Interface
