#include "hardware/linux/glim_offset_store.h"

namespace Hardware::Linux {

OffsetRow OffsetRow::of(Pekt::IntfId const& intfId, StoredOffsets const& offsets) {
  return {intfId, offsets.identity.generation, static_cast<std::uint64_t>(offsets.identity.ifindex),
          offsets.offsets};
}

StoredOffsets OffsetRow::stored() const {
  return {{generation, static_cast<std::int64_t>(ifindex)}, offsets};
}

QueueOffsetRow QueueOffsetRow::of(Pekt::IntfId const& intfId, StoredQueueOffsets const& offsets) {
  return {intfId, offsets.identity.generation, static_cast<std::uint64_t>(offsets.identity.ifindex),
          offsets.sources, offsets.offsets};
}

StoredQueueOffsets QueueOffsetRow::stored() const {
  return {{generation, static_cast<std::int64_t>(ifindex)}, sources, offsets};
}

VlanOffsetRow VlanOffsetRow::of(Pekt::IntfId const& intfId, StoredOffsets const& offsets) {
  PortTotals const& totals = offsets.offsets;
  return {intfId,
          offsets.identity.generation,
          static_cast<std::uint64_t>(offsets.identity.ifindex),
          totals[PortField::inOctets],
          totals[PortField::inPkts],
          totals[PortField::outOctets],
          totals[PortField::outPkts]};
}

StoredOffsets VlanOffsetRow::stored() const {
  StoredOffsets stored{{generation, static_cast<std::int64_t>(ifindex)}, {}};
  stored.offsets[PortField::inOctets] = inOctets;
  stored.offsets[PortField::inPkts] = inPkts;
  stored.offsets[PortField::outOctets] = outOctets;
  stored.offsets[PortField::outPkts] = outPkts;
  return stored;
}

}  // namespace Hardware::Linux
