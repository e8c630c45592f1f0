// The published counters of one VLAN interface.
#pragma once

#include "platform/interface/rates.h"
#include "platform/interface/statistics.h"
#include "platform/pekt/intf_id.h"

namespace Interface {

// A row of the VLAN interface counter table.
struct VlanIntfCounterGlim {
  Pekt::IntfId intfId;
  IntfStatistics statistics;
  IntfRates rates;

  bool operator==(VlanIntfCounterGlim const&) const = default;
};

}  // namespace Interface

template <>
struct Glim::RecordTraits<Interface::VlanIntfCounterGlim> {
  using Key = Pekt::IntfId;
  using Row = ::Interface::VlanIntfCounterGlim;
  static constexpr std::string_view name = "VlanIntfCounterGlim";
  static constexpr auto fields = Glim::joinFields(
      std::array{Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)}},
      Glim::fieldsAt(::Interface::kIntfStatisticsFields, offsetof(Row, statistics)),
      Glim::fieldsAt(::Interface::kIntfRatesFields, offsetof(Row, rates)));
  static Key const& key(Row const& row) { return row.intfId; }
};
