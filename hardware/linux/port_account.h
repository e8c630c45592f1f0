#pragma once

#include <cstdint>
#include <optional>

#include "hardware/linux/kernel_counts.h"
#include "hardware/linux/link_identity.h"
#include "platform/interface/eth_intf_counter.h"

namespace Hardware::Linux {

/// What must outlive the agent to keep a port's totals true.
struct StoredOffsets {
  LinkIdentity identity;
  PortTotals offsets;
  bool operator==(StoredOffsets const&) const = default;
};

/// Keeps the totals of one port true across resets of the kernel's counters and restarts of the
/// agent. Value arithmetic: knows no kernel and no table.
///
/// The invariant: what the published row holds = the kernel's count + an offset, and the offset
/// changes only when the kernel's count started anew. Counts that the agent was not there to see
/// are then in the next sum, and none is there twice.
///
/// The poller adds up differences between samples, so a sample is what the row should hold less
/// what it held at the start. The order of use, which also makes it safe to die at any point:
///
///   PortAccount account(row, stored);
///   account.advance(identity, counts);
///   if (account.mustSave()) save(account.stored()) and account.saved();
///   account.sample(...);     // only now: it depends on what was saved
///
/// If the agent dies after saving, the row still holds what it held when the offset was taken, and
/// the kernel's count + offset is that and what came since the reset. If it dies before, the next
/// agent sees the same reset and takes the same offset.
///
/// A counter started anew if its link is another one, or if it went backwards; then it started from
/// zero. A step back of no more than 1/64 of the kernel's count is taken as an unsteady reading
/// (some drivers add up their counts from parts that move meanwhile) and the count waits to be
/// passed.
class PortAccount {
 public:
  /// `row` is the published row as it stands, `stored` what was saved last, if anything. Without a
  /// row, or with one that was started anew since (it holds less than an offset), there is nothing
  /// to continue.
  PortAccount(std::optional<Interface::EthIntfCounterGlim> const& row,
              std::optional<StoredOffsets> const& stored);

  /// From now on the port is this link, of whose counts only those after `counts` are the port's.
  void moveTo(LinkIdentity const& identity, KernelCounts const& counts);

  /// Take in a reading. Fields that it does not know keep their count.
  void advance(LinkIdentity const& identity, KernelCounts const& counts);

  bool mustSave() const { return _mustSave; }
  void saved() { _mustSave = false; }
  /// No value before the first reading of a port of which nothing was stored.
  std::optional<StoredOffsets> const& stored() const { return _stored; }

  /// The sample to hand over: the change since the start. Counters that were never counted have no
  /// value if they are optional, else 0. The time is left as it is.
  void sample(Interface::IntfStatistics& intf, Interface::EthStatistics& eth) const;

 private:
  PortTotals _base;
  PortTotals _counted;  // the kernel's count + offset, as it stood last
  PortTotals _shown;    // what the row should hold
  PortFields _known;
  std::optional<StoredOffsets> _stored;
  bool _mustSave = false;
};

}  // namespace Hardware::Linux
