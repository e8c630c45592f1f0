#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

#include "hardware/linux/netlink_socket.h"
#include "hardware/linux/once_per_tick.h"

namespace Hardware::Linux {

/// What a queueing discipline has counted since it was made.
///
/// `octets` are of frames without their check sequence. At egress the 14 bytes of the Ethernet
/// header are in them (and those of every segment, of what the link is yet to segment), at the
/// filters of ingress they are not. Filters count packets and octets only where there is a filter.
struct QdiscCounts {
  std::uint64_t pkts = 0;
  std::uint64_t octets = 0;
  std::uint32_t drops = 0;  // packets, modulo 2^32

  bool operator==(QdiscCounts const&) const = default;
};

enum class QdiscKind : std::uint8_t {
  queues,   // one child a transmit queue, and nothing counted but by those: mq, mqprio
  filters,  // clsact, ingress: no queue at all, but the place of filters
  none,     // noqueue: frames pass by uncounted
  other,
};

/// A queueing discipline of a link.
struct Qdisc {
  std::uint32_t handle = 0;
  std::uint32_t parent = 0;
  QdiscKind kind = QdiscKind::other;
  /// Tells this discipline from another in its place, as far as that can be told.
  std::uint64_t source = 0;
  /// None: the kernel does not say.
  std::optional<QdiscCounts> counts;

  bool operator==(Qdisc const&) const = default;
};

struct QdiscNews {
  int ifindex = 0;
  Qdisc qdisc;
};

/// No value if the message is not one of a qdisc, or too short for one.
std::optional<QdiscNews> readQdiscMessage(nlmsghdr const& message);

/// The queueing disciplines of every link, as they stood at one moment.
class QdiscSource {
 public:
  virtual ~QdiscSource() = default;

  /// Make them those of the tick `now` (seconds, the agent's clock). Costs nothing if they already
  /// are.
  virtual std::error_code refresh(double now) = 0;

  /// Those of a link, none if it had none at the last refresh. Valid until the next refresh.
  virtual std::span<Qdisc const> find(int ifindex) const = 0;
};

/// By one dump of `RTM_GETQDISC` for all links. If the dump fails, or disciplines keep coming and
/// going meanwhile, no link has any until the next tick. Needs no privilege.
class QdiscStats final : public QdiscSource {
 public:
  QdiscStats();

  std::error_code refresh(double now) override;
  std::span<Qdisc const> find(int ifindex) const override;

  std::uint64_t dumps() const { return _dumps; }

 private:
  struct Link {
    int ifindex;
    std::size_t first;
    std::size_t count;
  };
  std::error_code read();
  void index(std::vector<QdiscNews>& all);

  NetlinkSocket _socket;
  std::vector<Qdisc> _qdiscs;
  std::vector<Link> _links;  // by ifindex
  OncePerTick _reading;
  std::error_code _error;  // of that reading
  std::uint64_t _dumps = 0;
};

}  // namespace Hardware::Linux
