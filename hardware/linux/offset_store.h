#pragma once

#include <functional>
#include <optional>
#include <unordered_map>

#include "hardware/linux/port_account.h"
#include "platform/pekt/intf_id.h"

namespace Hardware::Linux {

struct IntfIdHash {
  std::size_t operator()(Pekt::IntfId const& intfId) const { return intfId.hash(); }
};

/// Where the offsets of the ports outlive the agent: one record an interface.
class OffsetStore {
 public:
  virtual ~OffsetStore() = default;

  virtual std::optional<StoredOffsets> load(Pekt::IntfId const& intfId) = 0;
  /// Kept before it returns, whole or not at all. False: it could not be kept.
  virtual bool save(Pekt::IntfId const& intfId, StoredOffsets const& offsets) = 0;
  virtual void erase(Pekt::IntfId const& intfId) = 0;
  /// The interfaces that have a record. The visitor may erase.
  virtual void forEach(std::function<void(Pekt::IntfId const&)> const& visit) = 0;
};

/// Outlives nothing but the helper: for tests, and for an agent whose tables do not outlive it
/// either.
class MemoryOffsetStore final : public OffsetStore {
 public:
  std::optional<StoredOffsets> load(Pekt::IntfId const& intfId) override;
  bool save(Pekt::IntfId const& intfId, StoredOffsets const& offsets) override;
  void erase(Pekt::IntfId const& intfId) override;
  void forEach(std::function<void(Pekt::IntfId const&)> const& visit) override;

 private:
  std::unordered_map<Pekt::IntfId, StoredOffsets, IntfIdHash> records_;
};

}  // namespace Hardware::Linux
