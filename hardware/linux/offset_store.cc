#include "hardware/linux/offset_store.h"

#include <vector>

namespace Hardware::Linux {

std::optional<StoredOffsets> MemoryOffsetStore::load(Pekt::IntfId const& intfId) {
  auto const at = records_.find(intfId);
  if (at == records_.end()) return std::nullopt;
  return at->second;
}

bool MemoryOffsetStore::save(Pekt::IntfId const& intfId, StoredOffsets const& offsets) {
  records_.insert_or_assign(intfId, offsets);
  return true;
}

void MemoryOffsetStore::erase(Pekt::IntfId const& intfId) { records_.erase(intfId); }

void MemoryOffsetStore::forEach(std::function<void(Pekt::IntfId const&)> const& visit) {
  std::vector<Pekt::IntfId> all;
  for (auto const& [intfId, record] : records_) all.push_back(intfId);
  for (auto const& intfId : all) visit(intfId);
}

}  // namespace Hardware::Linux
