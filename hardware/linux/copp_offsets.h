#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hardware/linux/class_account.h"
#include "platform/glim/collection.h"
#include "platform/qos/copp_class_name.h"

namespace Hardware::Linux {

/// The name of the table within the agent's directory.
inline constexpr std::string_view kCoppOffsets = "coppOffsets";

/// A row of the agent's private table of the policing classes' offsets.
struct CoppOffsetRow {
  Qos::CoppClassName className;
  std::uint64_t generation = 0;
  std::uint64_t tableHandle = 0;
  std::uint64_t handle = 0;
  std::uint64_t pkts = 0;
  std::uint64_t octets = 0;

  static CoppOffsetRow of(Qos::CoppClassName const& className, StoredClassOffsets const& stored) {
    ClassSource const& source = stored.source;
    return {className,     source.generation,   source.tableHandle,
            source.handle, stored.offsets.pkts, stored.offsets.octets};
  }
  StoredClassOffsets stored() const { return {{generation, tableHandle, handle}, {pkts, octets}}; }
};

}  // namespace Hardware::Linux

template <>
struct Glim::RecordTraits<Hardware::Linux::CoppOffsetRow> {
  using Key = Qos::CoppClassName;
  using Row = Hardware::Linux::CoppOffsetRow;
  static constexpr std::string_view name = "LinuxCoppOffsets";
  static constexpr std::array fields{
      Glim::Field{"className", Glim::FieldType::text, offsetof(Row, className), sizeof(Key)},
      Glim::Field{"generation", Glim::FieldType::u64, offsetof(Row, generation)},
      Glim::Field{"tableHandle", Glim::FieldType::u64, offsetof(Row, tableHandle)},
      Glim::Field{"handle", Glim::FieldType::u64, offsetof(Row, handle)},
      Glim::Field{"pkts", Glim::FieldType::u64, offsetof(Row, pkts)},
      Glim::Field{"octets", Glim::FieldType::u64, offsetof(Row, octets)}};
  static Key const& key(Row const& row) { return row.className; }
};

namespace Hardware::Linux {

using CoppOffsetTable = Glim::Collection<CoppOffsetRow>;

}  // namespace Hardware::Linux
