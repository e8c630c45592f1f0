#pragma once

#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include "hardware/linux/port_account.h"
#include "hardware/linux/queue_account.h"
#include "platform/pekt/intf_id.h"

namespace Hardware::Linux {

struct IntfIdHash {
  std::size_t operator()(Pekt::IntfId const& intfId) const { return intfId.hash(); }
};

/// Where offsets outlive the agent: one record an interface.
template <class Offsets>
class OffsetStoreOf {
 public:
  virtual ~OffsetStoreOf() = default;

  virtual std::optional<Offsets> load(Pekt::IntfId const& intfId) = 0;
  /// Kept before it returns, whole or not at all. False: it could not be kept.
  virtual bool save(Pekt::IntfId const& intfId, Offsets const& offsets) = 0;
  virtual void erase(Pekt::IntfId const& intfId) = 0;
  /// The interfaces that have a record. The visitor may erase.
  virtual void forEach(std::function<void(Pekt::IntfId const&)> const& visit) = 0;
};

/// Outlives nothing but the helper: for tests, and for an agent whose tables do not outlive it
/// either.
template <class Offsets>
class MemoryOffsetStoreOf final : public OffsetStoreOf<Offsets> {
 public:
  std::optional<Offsets> load(Pekt::IntfId const& intfId) override {
    auto const at = _records.find(intfId);
    return at == _records.end() ? std::nullopt : std::optional(at->second);
  }
  bool save(Pekt::IntfId const& intfId, Offsets const& offsets) override {
    _records.insert_or_assign(intfId, offsets);
    return true;
  }
  void erase(Pekt::IntfId const& intfId) override { _records.erase(intfId); }
  void forEach(std::function<void(Pekt::IntfId const&)> const& visit) override {
    std::vector<Pekt::IntfId> all;
    for (auto const& [intfId, record] : _records) all.push_back(intfId);
    for (auto const& intfId : all) visit(intfId);
  }

 private:
  std::unordered_map<Pekt::IntfId, Offsets, IntfIdHash> _records;
};

/// Keeps what must be kept of an account's offsets. False: it could not be, and is tried again when
/// this is called after the next reading.
template <class Offsets, class Account>
bool saveOffsets(OffsetStoreOf<Offsets>& store, Pekt::IntfId const& intfId, Account& account) {
  if (!account.mustSave()) return true;
  if (!store.save(intfId, *account.stored())) return false;
  account.saved();
  return true;
}

/// Of the ports' counters, and of the counters of their queues.
using OffsetStore = OffsetStoreOf<StoredOffsets>;
using MemoryOffsetStore = MemoryOffsetStoreOf<StoredOffsets>;
using QueueOffsetStore = OffsetStoreOf<StoredQueueOffsets>;
using MemoryQueueOffsetStore = MemoryOffsetStoreOf<StoredQueueOffsets>;

}  // namespace Hardware::Linux
