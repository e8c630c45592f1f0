// The published count of packets that access lists dropped on one interface.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>

#include "platform/glim/record.h"
#include "platform/pekt/intf_id.h"

namespace Glim::Interface {

// A row of the ACL drop counter table.
struct DropCounter {
  Pekt::IntfId intfId;
  std::uint64_t aclDropPkts = 0;  // absolute, as the chip counts

  bool operator==(DropCounter const&) const = default;
  friend std::ostream& operator<<(std::ostream& out, DropCounter const& c) {
    return out << c.intfId << ' ' << c.aclDropPkts;
  }
};

}  // namespace Glim::Interface

template <>
struct Glim::RecordTraits<Glim::Interface::DropCounter> {
  using Key = Pekt::IntfId;
  using Row = Glim::Interface::DropCounter;
  static constexpr std::string_view name = "DropCounter";
  static constexpr std::array fields{
      Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)},
      Glim::Field{"aclDropPkts", Glim::FieldType::u64, offsetof(Row, aclDropPkts)}};
  static Key const& key(Row const& row) { return row.intfId; }
};
