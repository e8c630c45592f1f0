#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

#include "hardware/linux/copp_rows.h"
#include "hardware/linux/nft_counters.h"
#include "hardware/linux/once_per_tick.h"
#include "platform/kel/system.h"

namespace Hardware::Linux {

/// Control-plane policing as nftables does it: each named counter of the table `inet copp` is a
/// class, and what it counts is published in the class's row.
///
/// The chip has a CPU port while there is that table. Classes come and go with their counters, and
/// their rows as `CoppRows` says.
///
/// Without CAP_NET_ADMIN, or without nftables, there is no CPU port; the former is told once.
class CoppClasses {
 public:
  using Parts = CoppRows::Parts;
  using Names = CoppRows::Names;

  /// What is given by reference must outlive it. `now` is the agent's clock, `say` tells the
  /// operator, `generation` is that of `LinkIdentity`.
  CoppClasses(Parts parts, NftCounterSource& source, std::uint64_t generation,
              std::function<Kel::Seconds()> now, std::function<void(std::string const&)> say);

  /// Read all classes and publish them, once a tick at most. Where they cannot be read just now,
  /// everything stays as it is.
  void refresh();

  /// Reset the counter of one class: it is set to 0 in the kernel, which is no loss to its totals,
  /// and the row says at which totals. Does nothing where there is no such class. The table is read
  /// first unless it was at this tick: what a ruleset had counted that was replaced since is known
  /// by the handle of its table, which the reset does not tell.
  void reset(std::string_view className);

  /// The classes as they were read last; no value: there is no CPU port.
  std::optional<Names> const& classes() const { return _classes; }

 private:
  void read();
  void cannotRead(std::error_code error);
  void take(NftTable const& table);
  bool isClassName(std::string const& name);
  ClassSource sourceOf(NftCounter const& counter) const;
  void sayRefused(std::size_t refused, std::string const& first);
  void forgetToldBut(NftTable const& table);
  void sayOnce(std::set<std::string>& told, std::string const& about, std::string const& why);

  CoppRows _rows;
  NftCounterSource& _source;
  std::uint64_t const _generation;
  std::function<Kel::Seconds()> const _now;
  std::function<void(std::string const&)> const _say;
  OncePerTick _reading;
  std::uint64_t _tableHandle = 0;
  std::optional<Names> _classes;
  // What the operator knows: of the table, of its counters by their names, and of how many classes
  // without room at most.
  std::set<std::string> _told, _toldOf;
  std::size_t _toldRefused = 0;
};

}  // namespace Hardware::Linux
