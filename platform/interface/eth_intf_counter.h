// The published counters of one Ethernet interface.
#pragma once

#include "platform/interface/eth_counters.h"
#include "platform/interface/rates.h"
#include "platform/interface/statistics.h"
#include "platform/pekt/intf_id.h"

namespace Interface {

// A row of the Ethernet counter table and of its clear table.
struct EthIntfCounterGlim {
  Pekt::IntfId intfId;
  IntfStatistics statistics;
  IntfRates rates;
  EthStatistics ethStatistics;

  bool operator==(EthIntfCounterGlim const&) const = default;
};

}  // namespace Interface

template <>
struct Glim::RecordTraits<Interface::EthIntfCounterGlim> {
  using Key = Pekt::IntfId;
  using Row = ::Interface::EthIntfCounterGlim;
  static constexpr std::string_view name = "EthIntfCounterGlim";
  static constexpr auto fields = Glim::joinFields(
      std::array{Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)}},
      Glim::fieldsAt(::Interface::kIntfStatisticsFields, offsetof(Row, statistics)),
      Glim::fieldsAt(::Interface::kIntfRatesFields, offsetof(Row, rates)),
      Glim::fieldsAt(::Interface::ethStatisticsFields(), offsetof(Row, ethStatistics)));
  static Key const& key(Row const& row) { return row.intfId; }
};
