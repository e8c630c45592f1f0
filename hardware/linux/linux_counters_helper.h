#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "counters/pollers/helper.h"
#include "hardware/linux/ethtool_stats.h"
#include "hardware/linux/link_stats.h"
#include "hardware/linux/offset_store.h"
#include "hardware/linux/port_account.h"

namespace Hardware::Linux {

/// The Linux kernel as the chip: the links of this network namespace are the ports.
///
/// The agent says which link a port is, and keeps saying so:
///
///   auto helper = Kel::make<LinuxCountersHelper>("linux", std::move(parts));
///   helper->linkIs("Ethernet2", 2, "veth");     // before the port is initialized, and again
///                                               // whenever there is news of the link
///   helper->linkDel("Ethernet2");               // the link is gone
///
/// A port whose link is gone is no error: it keeps the counts that it had. The link may come back
/// as another one; its counts then go on where the old ones ended.
class LinuxCountersHelper final : public OruHelper::OruHelperCountersSm {
 public:
  /// The published row of an interface as it stands, or none.
  using PublishedRow =
      std::function<std::optional<Interface::EthIntfCounterGlim>(Pekt::IntfId const&)>;

  struct Parts {
    std::unique_ptr<LinkStatsSource> links;
    std::unique_ptr<MacStatsSource> macs;
    std::unique_ptr<OffsetStore> offsets;
    PublishedRow publishedRow;
    /// The time of the agent's clock: all ports that are read at one time share one reading.
    std::function<Kel::Seconds()> now;
    /// See `LinkIdentity`.
    std::uint64_t generation = 0;
  };
  /// The parts that read this kernel, with what only the agent can give.
  static Parts kernelParts(std::unique_ptr<OffsetStore> offsets, PublishedRow publishedRow,
                           std::function<Kel::Seconds()> now);

  /// REQUIRES: every part is given.
  LinuxCountersHelper(Kel::Name name, Parts parts);
  ~LinuxCountersHelper() override;

  /// The port is this link. `kind` is the link's kind ("veth"; empty for a physical device).
  void linkIs(Pekt::IntfId const& intfId, int ifindex, std::string_view kind = {});
  void linkDel(Pekt::IntfId const& intfId);

  /// Which link the published rows of an interface, and the offsets kept for them, are of.
  enum class RowsOf : std::uint8_t {
    nobody,    // there is no row, or no offsets: such a row holds no count of a link
    another,   // a link that went, or one of another network namespace or run of the machine
    thisLink,  // the rows' counts are of this link and go on
  };
  RowsOf rowsOf(Pekt::IntfId const& intfId, int ifindex) const;

  /// Make sure that there is room to keep the interface's offsets. False: there is none.
  bool reserve(Pekt::IntfId const& intfId, int ifindex);
  /// The interface's rows go on with this link, of which only what it counts from now on is theirs:
  /// what it counted before was another interface's. False if that could not be kept, or the link
  /// not be read.
  bool moveTo(Pekt::IntfId const& intfId, int ifindex);
  /// Drop the interface's offsets.
  /// REQUIRES: its rows go too, and later.
  void forget(Pekt::IntfId const& intfId) { parts_.offsets->erase(intfId); }

  /// The counters that are not counted on this port's link, and whose zero therefore means
  /// nothing. No value if that cannot be told just now: the port has no link, or the link or its
  /// MAC could not be read.
  std::optional<Interface::CounterSet> unsupportedCounters(Pekt::IntfId const& intfId);

  /// How often an offset could not be kept. While one cannot, counting goes on; should the agent
  /// die then, what was counted since the link's last reset may count twice.
  std::uint64_t offsetsNotSaved() const { return offsetsNotSaved_; }

  /// Drops kept offsets of interfaces that have no row any more.
  void hwInit() override;
  void initialize(Pekt::IntfId intfId) override;
  void deinitialize(Pekt::IntfId intfId) override;
  void getCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override;

 private:
  struct LinkOf {
    int ifindex;
    std::string kind;
  };
  struct Port {
    std::optional<LinkOf> link;
    std::optional<PortAccount> account;  // while the port is initialized
    Kel::Seconds lastReading = 0.0;
  };
  void open(Pekt::IntfId const& intfId, Port& port);
  std::optional<KernelCounts> read(LinkOf const& link);
  void save(Pekt::IntfId const& intfId, PortAccount& account);

  Parts parts_;
  std::unordered_map<Pekt::IntfId, Port, IntfIdHash> ports_;
  std::uint64_t offsetsNotSaved_ = 0;
};

}  // namespace Hardware::Linux
