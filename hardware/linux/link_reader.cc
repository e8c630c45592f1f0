#include "hardware/linux/link_reader.h"

#include <utility>

namespace Hardware::Linux {

LinkReader::LinkReader(LinkStatsSource& links, MacStatsSource& macs, QdiscSource& qdiscs,
                       std::function<Kel::Seconds()> now)
    : _links(links), _macs(macs), _qdiscs(qdiscs), _now(std::move(now)) {}

rtnl_link_stats64 const* LinkReader::stats(int ifindex) {
  return _links.refresh(_now()) ? nullptr : _links.find(ifindex);
}

std::optional<KernelCounts> LinkReader::port(int ifindex) {
  auto const* const stats = this->stats(ifindex);
  return stats ? std::optional(kernelCounts(*stats, _macs.read(_now(), ifindex))) : std::nullopt;
}

std::optional<KernelCounts> LinkReader::vlan(int ifindex) {
  auto const* const stats = this->stats(ifindex);
  return stats ? std::optional(vlanCounts(*stats)) : std::nullopt;
}

bool LinkReader::macIsUnread(int ifindex) { return _macs.read(_now(), ifindex).unavailable; }

// A link that is gone and of which no news came yet would look like one without any.
std::optional<std::span<Qdisc const>> LinkReader::qdiscs(int ifindex) {
  if (!stats(ifindex) || _qdiscs.refresh(_now())) return std::nullopt;
  return _qdiscs.find(ifindex);
}

std::optional<QueueReading> LinkReader::queues(Link const& link) {
  auto const all = qdiscs(link.ifindex);
  return all ? std::optional(queueReading(*all, link.txQueues)) : std::nullopt;
}

void LinkReader::forget(int ifindex) { _macs.forget(ifindex); }

}  // namespace Hardware::Linux
