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

}  // namespace Hardware::Linux
