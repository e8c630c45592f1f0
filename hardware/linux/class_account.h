#pragma once

#include <cstdint>
#include <optional>

namespace Hardware::Linux {

/// Which counter of nftables, made anew or not: its handle and its table's, which the kernel uses
/// once only in each network namespace.
struct ClassSource {
  std::uint64_t generation = 0;  // see `LinkIdentity`
  std::uint64_t tableHandle = 0;
  std::uint64_t handle = 0;
  bool operator==(ClassSource const&) const = default;
};

/// What a policing class counts.
struct ClassCounts {
  std::uint64_t pkts = 0;
  std::uint64_t octets = 0;
  bool operator==(ClassCounts const&) const = default;
};

/// What must outlive the agent to keep a class's totals true.
struct StoredClassOffsets {
  ClassSource source;
  ClassCounts offsets;
  bool operator==(StoredClassOffsets const&) const = default;
};

/// Keeps the totals of one policing class true across resets of its counter, by whomever, new
/// rulesets and restarts of the agent. Value arithmetic: knows no kernel and no table.
///
/// The invariant is that of `PortAccount`: total = the kernel's count + an offset, which changes
/// only when the kernel's count started anew, and is kept before the total is published.
///
/// A counter started anew if it is another one, or if either of its counts went backwards. A reset
/// by somebody else that is made up for by new traffic before the next reading cannot be told.
///
/// An agent that dies after keeping an offset and before publishing leaves totals lower than the
/// offset; the offset was a total, so nothing is lost. One that dies between the kernel's reset and
/// the keeping of the offset leaves what a reset by somebody else does: what came since the last
/// reading is lost; and if the counter passes its old count before the next reading, all that it
/// had counted until the reset.
class ClassAccount {
 public:
  /// `published` are the totals as they stand in the class's row, `stored` what was kept last. With
  /// one of them missing there is nothing to continue.
  ClassAccount(std::optional<ClassCounts> const& published,
               std::optional<StoredClassOffsets> const& stored);

  /// Whether what was published goes on.
  bool continues() const { return _stored.has_value(); }

  /// Take in a reading.
  void advance(ClassSource const& source, ClassCounts const& kernel);
  /// The counter was set to 0 when it stood at `kernel`.
  void reset(ClassSource const& source, ClassCounts const& kernel);

  ClassCounts const& totals() const { return _totals; }

  bool mustSave() const { return _mustSave; }
  void saved() { _mustSave = false; }
  /// REQUIRES: a reading was taken in.
  StoredClassOffsets const& stored() const { return *_stored; }

 private:
  bool startedAnew(ClassSource const& source, ClassCounts const& kernel) const;

  ClassCounts _totals;
  std::optional<StoredClassOffsets> _stored;
  bool _mustSave = false;
};

}  // namespace Hardware::Linux
