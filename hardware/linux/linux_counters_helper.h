#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "counters/pollers/helper.h"
#include "hardware/linux/copp_classes.h"
#include "hardware/linux/drop_account.h"
#include "hardware/linux/drop_reader.h"
#include "hardware/linux/ethtool_stats.h"
#include "hardware/linux/link.h"
#include "hardware/linux/link_reader.h"
#include "hardware/linux/link_stats.h"
#include "hardware/linux/nft_counters.h"
#include "hardware/linux/offset_store.h"
#include "hardware/linux/port_account.h"
#include "hardware/linux/qdisc_stats.h"
#include "hardware/linux/queue_account.h"
#include "hardware/linux/rows_of.h"
#include "platform/interface/queue_clearing.h"
#include "platform/interface/vlan_intf_counter.h"

namespace Hardware::Linux {

/// The Linux kernel as the chip: the links of this network namespace are the ports.
///
/// The agent says which link a port is, and keeps saying so:
///
///   auto helper = Kel::make<LinuxCountersHelper>("linux", std::move(parts));
///   helper->linkIs("Ethernet2", link);          // before the port is initialized, and again
///                                               // whenever there is news of the link
///   helper->linkDel("Ethernet2");               // the link is gone
///
/// Beside the port's own counters it tells those of its queues, as far as the link's queueing
/// disciplines count them (absolute, as queueCountersIncrement() says), and the packets that
/// filters dropped: those of the link's clsact or ingress, at both of its hooks, or what an
/// nftables counter counts that the configuration names for the link.
///
/// VLAN interfaces are ports too, whose link must be of their VLAN. They have no queues and no
/// drops; what is said of a port holds of them otherwise.
///
/// The named counters of the nftables table `inet copp` are the classes of control-plane policing
/// (see `CoppClasses`).
///
/// A port whose link is gone is no error: it keeps the counts that it had. The link may come back
/// as another one; its counts then go on where the old ones ended.
class LinuxCountersHelper final : public OruHelper::OruHelperCountersSm {
 public:
  /// The published row of an interface as it stands, or none. That of a VLAN interface is
  /// `asPort` of its own.
  using PublishedRow =
      std::function<std::optional<Interface::EthIntfCounterGlim>(Pekt::IntfId const&)>;

  /// The same of its queues, and its published drops.
  using PublishedQueues =
      std::function<std::optional<Interface::QueueCounter::IntfQueueCounter>(Pekt::IntfId const&)>;
  using PublishedDrops = std::function<std::uint64_t(Pekt::IntfId const&)>;

  /// What only the agent can give.
  struct AgentParts {
    std::unique_ptr<OffsetStore> offsets;
    PublishedRow publishedRow;
    std::unique_ptr<QueueOffsetStore> queueOffsets;
    PublishedQueues publishedQueues;
    PublishedDrops publishedDrops;
    /// The time of the agent's clock: all ports that are read at one time share one reading.
    std::function<Kel::Seconds()> now;
    /// By the link's name in the kernel: what counts its drops in place of its filters.
    DropReader::Named aclDrops;
    /// Tells the operator.
    std::function<void(std::string const&)> say;
    Interface::QueueCounter::Clearing queueClearing;
    CoppClasses::Parts copp{};
  };
  /// What reads the kernel.
  struct KernelParts {
    std::unique_ptr<LinkStatsSource> links;
    std::unique_ptr<MacStatsSource> macs;
    std::unique_ptr<QdiscSource> qdiscs;
    std::unique_ptr<NftCounterSource> nftCounters;
    /// See `LinkIdentity`.
    std::uint64_t generation = 0;
  };
  struct Parts : AgentParts, KernelParts {};
  /// With the parts that read this kernel.
  static Parts kernelParts(AgentParts agent);

  /// REQUIRES: every part is given.
  LinuxCountersHelper(Kel::Name name, Parts parts);
  ~LinuxCountersHelper() override;

  /// The port is this link.
  void linkIs(Pekt::IntfId const& intfId, Link const& link);
  void linkDel(Pekt::IntfId const& intfId);

  /// Of the published rows of an interface, and the offsets kept for them.
  using RowsOf = Linux::RowsOf;
  RowsOf rowsOf(Pekt::IntfId const& intfId, int ifindex) const;

  /// Make sure that there is room to keep the interface's offsets. False: there is none, and none
  /// was taken.
  bool reserve(Pekt::IntfId const& intfId, int ifindex);
  /// The interface's rows go on with this link, of which only what it counts from now on is theirs:
  /// what it counted before was another interface's. False if that could not be kept, or the link
  /// not be read.
  bool moveTo(Pekt::IntfId const& intfId, int ifindex);
  /// Drop the interface's offsets.
  /// REQUIRES: its rows go too, and later.
  void forget(Pekt::IntfId const& intfId);

  /// The counters that are not counted on this port's link, and whose zero therefore means
  /// nothing. No value if that cannot be told just now: the port has no link, or the link or its
  /// MAC could not be read.
  std::optional<Interface::CounterSet> unsupportedCounters(Pekt::IntfId const& intfId);

  /// The same of its queues: bits of `Interface::kQueueCounterNames`.
  std::optional<std::uint32_t> unsupportedQueueCounters(Pekt::IntfId const& intfId);

  /// How often an offset could not be kept. While one cannot, counting goes on; should the agent
  /// die then, what was counted since the link's last reset may count twice.
  std::uint64_t offsetsNotSaved() const { return _offsetsNotSaved; }

  /// Drops kept offsets of interfaces that have no row any more.
  void hwInit() override;
  void initialize(Pekt::IntfId intfId) override;
  void deinitialize(Pekt::IntfId intfId) override;
  void getCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override;
  /// All unicast: the kernel keeps no queues for other frames.
  void getIntfQueueType(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfQueueType> types) override;
  void getIntfQueueCounters(Pekt::IntfId intfId,
                            Kel::Ptr<OruTypes::IntfQueueCounters> counters) override;
  /// Copies the queue rows to their clear table.
  void doClearCounters(Kel::String request) override;
  bool aclDropCountersSupported() override { return true; }
  std::uint64_t getIntfAclDropCounters(Pekt::IntfId intfId) override;
  /// False: the interface's link is not there, or of another VLAN. Keeps counting where it counts.
  bool initializeVlanIntfCounters(Pekt::IntfId intfId, std::uint16_t vlanId) override;
  void getVlanIntfCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::VlanIntfCounters> newCounters,
                           Kel::Ptr<OruTypes::VlanIntfCounters> prevCounters) override;
  /// The offsets stay: the interface's row goes later, or stays too.
  void deleteVlanIntfCounters(Pekt::IntfId intfId) override;
  void getCoppCounters() override { _copp.refresh(); }
  void resetCpuQueueCounters(Kel::Name className) override { _copp.reset(className.view()); }

  /// The policing classes as they were read last; no value: there is no CPU port.
  std::optional<CoppClasses::Names> const& coppClasses() const { return _copp.classes(); }

 private:
  struct Port {
    std::optional<Link> link;
    std::optional<PortAccount> account;   // while the port is initialized
    std::optional<QueueAccount> queues;   // from its first reading to its release
    std::optional<DropAccount> aclDrops;  // likewise
    Kel::Seconds lastReading = 0.0;

    bool isIdle() const { return !link && !account && !queues && !aclDrops; }
  };
  LinkIdentity identityOf(int ifindex) const { return {_parts.generation, ifindex}; }
  void open(Pekt::IntfId const& intfId, Port& port);
  std::optional<KernelCounts> read(Pekt::IntfId const& intfId, int ifindex);
  void advance(Pekt::IntfId const& intfId, Port& port);

  Parts _parts;
  LinkReader _links;
  DropReader _drops;
  CoppClasses _copp;
  std::unordered_map<Pekt::IntfId, Port, IntfIdHash> _ports;
  std::uint64_t _offsetsNotSaved = 0;
};

/// A VLAN interface's row in the form of a port's; its errors are the MAC's internal ones.
Interface::EthIntfCounterGlim asPort(Interface::VlanIntfCounterGlim const& row);

}  // namespace Hardware::Linux
