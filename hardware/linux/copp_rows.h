#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "hardware/linux/class_account.h"
#include "hardware/linux/copp_offsets.h"
#include "platform/kel/system.h"
#include "platform/qos/copp_class_tables.h"

namespace Hardware::Linux {

/// The published rows of policing classes, their accounts, and the offsets that are kept for them.
/// Knows nothing of nftables.
///
/// Rows come and go with their classes; the row of a class that went stays for `kReloadGrace`, so
/// that a ruleset which is loaded in two steps loses no totals, or for good where rows are kept;
/// but for want of room those go first that went first. Rows of another network namespace, or run
/// of the machine, begin anew.
class CoppRows {
 public:
  using Table = Qos::AllCoppClassCounter;
  using Names = std::set<Qos::CoppClassName>;

  static constexpr Kel::Seconds kReloadGrace = 10.0;

  struct Parts {
    Kel::Ptr<Table> rows{};                  // null: the agent counts no classes
    Kel::Ptr<CoppOffsetTable> offsets{};     // what its totals need to be continued; with the rows
    std::string policyMap{};                 // which the classes are said to belong to
    bool keepsRows = false;                  // of classes that went
    std::function<Kel::Seconds()> steady{};  // a clock that nobody sets; with the rows
  };
  /// `now` is the agent's clock, `generation` that of `LinkIdentity`.
  CoppRows(Parts parts, std::uint64_t generation, std::function<Kel::Seconds()> now);

  /// Without them nothing else may be asked for.
  bool exist() const { return static_cast<bool>(_parts.rows); }

  /// Rows go whose classes are not among these.
  void removeBut(Names const& living);
  /// A class has counted so much: publish it. Classes that are not `living` make room for it.
  /// Answers why there is none; nothing if there is.
  std::string count(Qos::CoppClassName const& className, ClassSource const& source,
                    ClassCounts const& kernel, Names const& living);
  /// Its counter was set to 0 when it had counted so much: the row says at which totals.
  /// REQUIRES: it has a row.
  void reset(Qos::CoppClassName const& className, ClassSource const& source,
             ClassCounts const& kernel);

 private:
  ClassAccount& account(Qos::CoppClassName const& className);
  std::string publish(Qos::CoppClassName const& className, ClassAccount& account);
  bool makeRoom(Names const& living);
  bool saveOffsets(Qos::CoppClassName const& className, ClassAccount& account);
  Qos::CoppClassCounter row(Qos::CoppClassName const& className, ClassAccount const& account);
  void remove(Qos::CoppClassName const& className);

  Parts const _parts;
  std::uint64_t const _generation;
  std::function<Kel::Seconds()> const _now;
  std::map<Qos::CoppClassName, ClassAccount> _accounts;
  // Rows of classes that went, and since when by the steady clock.
  std::map<Qos::CoppClassName, Kel::Seconds> _goneSince;
  bool _isFirst = true;
};

}  // namespace Hardware::Linux
