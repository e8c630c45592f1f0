#include "hardware/linux/glim_offset_store.h"

#include "platform/dov/exception.h"

namespace Hardware::Linux {

std::optional<StoredOffsets> GlimOffsetStore::load(Pekt::IntfId const& intfId) {
  OffsetRow row;
  bool found = false;
  table_->safeLookup(intfId, found, row);
  if (!found) return std::nullopt;
  return StoredOffsets{{row.generation, static_cast<std::int64_t>(row.ifindex)}, row.offsets};
}

bool GlimOffsetStore::save(Pekt::IntfId const& intfId, StoredOffsets const& offsets) {
  if (!table_->attached()) return false;
  OffsetRow row;
  row.intfId = intfId;
  row.generation = offsets.identity.generation;
  row.ifindex = static_cast<std::uint64_t>(offsets.identity.ifindex);
  row.offsets = offsets.offsets;
  try {
    table_->write(row);
  } catch (Dov::Exception const&) {
    return false;
  }
  return table_->attached();
}

void GlimOffsetStore::forEach(std::function<void(Pekt::IntfId const&)> const& visit) {
  table_->forEach([&](OffsetRow const& row) { visit(row.intfId); });
}

}  // namespace Hardware::Linux
