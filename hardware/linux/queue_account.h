#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include "hardware/linux/link_identity.h"
#include "hardware/linux/queue_counts.h"
#include "platform/interface/queue_counter.h"

namespace OruTypes {
class IntfQueueCounters;
}

namespace Hardware::Linux {

/// The slots of a row's counts: queues 0 to 16, of which the last stands for all further ones too,
/// and all queues together.
inline constexpr std::size_t kQueueSlots = Interface::QueueCounter::QueueIndex::max + 1;
inline constexpr std::size_t kAllQueues = kQueueSlots;
inline constexpr std::size_t kQueueTotals = kQueueSlots + 1;

/// One count a slot, modulo 2^64.
struct QueueTotals {
  using Counts = std::array<std::uint64_t, kQueueTotals>;
  Counts pkts{};
  Counts octets{};
  Counts dropPkts{};
  bool operator==(QueueTotals const&) const = default;
};

/// What must outlive the agent to keep the totals of a port's queues true.
struct StoredQueueOffsets {
  LinkIdentity identity;
  /// Which disciplines the offsets are against (`Qdisc::source`); 0: none.
  std::array<std::uint64_t, kQueueTotals> sources{};
  QueueTotals offsets;
  bool operator==(StoredQueueOffsets const&) const = default;
};

/// Keeps the totals of one port's queues true across the replacement and the reset of its queueing
/// disciplines, another link, and restarts of the agent. Value arithmetic: knows no kernel and no
/// table.
///
/// The invariant and the order of use are those of `PortAccount`: what the published row holds =
/// the kernel's count + an offset, which changes only when the kernel's count started anew or its
/// 32 bits of drops wrapped. Here a sample is the total itself.
///
/// Each discipline is followed by itself, also where several share a slot: of one that is replaced,
/// all that its successor counts is added. Only what befell one of several that share a slot while
/// no agent ran cannot be told from their sum: the slot then goes on from where it was.
class QueueAccount {
 public:
  /// `row` is the published row as it stands, `stored` what was saved last, if anything. Without a
  /// row, or with one that was started anew since (it holds less than an offset), there is nothing
  /// to continue.
  QueueAccount(std::optional<Interface::QueueCounter::IntfQueueCounter> const& row,
               std::optional<StoredQueueOffsets> const& stored);

  /// From now on the port is this link, of whose counts only those after `reading` are the port's.
  void moveTo(LinkIdentity const& identity, QueueReading const& reading);

  /// Take in a reading. Slots that it does not count keep their totals.
  void advance(LinkIdentity const& identity, QueueReading const& reading);

  bool mustSave() const { return _mustSave; }
  void saved() { _mustSave = false; }
  /// No value before the first reading of a port of which nothing was stored.
  std::optional<StoredQueueOffsets> const& stored() const { return _stored; }

  /// The totals of what the reading taken in last counts; the rest of the sample stays as it is.
  void sample(OruTypes::IntfQueueCounters& sample) const;

 private:
  struct Seen {
    std::uint64_t source = 0;
    QdiscCounts counts;
  };
  struct Delta {
    std::uint64_t pkts = 0, octets = 0, dropPkts = 0;
  };
  /// The disciplines of a reading by the slots that they count for, several in one as their sum.
  struct Slots;

  static bool startedAnew(Seen const& seen, QueueReading::Queue const& now);
  static Delta since(Seen const& seen, QueueReading::Queue const& now);
  Seen storedAt(std::size_t slot) const;
  Delta follow(std::uint32_t key, std::size_t slot, QueueReading::Queue const& now);
  void add(std::size_t slot, Delta const& delta);
  void take(QueueReading const& reading, Slots const& slots);
  void see(QueueReading const& reading);
  void settle(LinkIdentity const& identity, Slots const& slots);

  QueueTotals _totals;
  std::array<std::uint64_t, kQueueTotals> _dropOctets{};  // as the row had them
  std::optional<StoredQueueOffsets> _stored;
  bool _sourcesAreKnown = false;  // of what is stored
  bool _resumes = true;           // nothing of this link was taken in yet
  bool _mustSave = false;
  std::unordered_map<std::uint32_t, Seen> _seen;  // by number of the queue, or kTogether
  std::array<bool, kQueueTotals> _counted{};      // in the reading taken in last
};

}  // namespace Hardware::Linux
