#include "hardware/linux/qdisc_stats.h"

#include <linux/gen_stats.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>

#include <algorithm>

namespace Hardware::Linux {
namespace {

QdiscKind kindNamed(std::string_view name) {
  if (name == "mq" || name == "mqprio") return QdiscKind::queues;
  if (name == "clsact" || name == "ingress") return QdiscKind::filters;
  if (name == "noqueue") return QdiscKind::none;
  return QdiscKind::other;
}

// The handle is chosen anew for each that somebody adds; those that the kernel attaches by itself
// have none, and can be told by their kind at least.
std::uint64_t sourceOf(std::string_view kind, std::uint32_t handle) {
  std::uint32_t hash = 2166136261U;  // FNV-1a
  for (char const c : kind) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return std::uint64_t{hash} << 32 | handle;
}

std::optional<QdiscCounts> readStats(nlattr const& stats) {
  std::optional<gnet_stats_basic> basic;
  std::optional<gnet_stats_queue> queue;
  std::optional<std::uint64_t> pkts;
  bool ofBasic = false;
  forEachNested(stats, [&](nlattr const& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case TCA_STATS_BASIC:
        // The record ends in padding that some kernels do not send.
        if (mnl_attr_get_payload_len(&attribute) >= sizeof(std::uint64_t) + sizeof(std::uint32_t))
          basic = attributeRecord<gnet_stats_basic>(attribute);
        ofBasic = true;
        break;
      case TCA_STATS_BASIC_HW:
        ofBasic = false;
        break;
      case TCA_STATS_PKT64:  // of what came before it
        if (ofBasic) pkts = attributeValue<std::uint64_t>(attribute);
        break;
      case TCA_STATS_QUEUE:
        queue = attributeValue<gnet_stats_queue>(attribute);
        break;
      default:
        break;
    }
  });
  if (!basic || !queue) return std::nullopt;
  return QdiscCounts{pkts.value_or(basic->packets), basic->bytes, queue->drops};
}

}  // namespace

std::optional<QdiscNews> readQdiscMessage(nlmsghdr const& message) {
  if (message.nlmsg_type != RTM_NEWQDISC) return std::nullopt;
  auto const header = fixedHeader<tcmsg>(message);
  if (!header) return std::nullopt;
  QdiscNews news;
  news.ifindex = header->tcm_ifindex;
  news.qdisc.handle = header->tcm_handle;
  news.qdisc.parent = header->tcm_parent;
  forEachAttribute(message, sizeof(tcmsg), [&](nlattr const& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case TCA_KIND:
        news.qdisc.kind = kindNamed(attributeText(attribute));
        news.qdisc.source = sourceOf(attributeText(attribute), news.qdisc.handle);
        break;
      case TCA_STATS2:
        news.qdisc.counts = readStats(attribute);
        break;
      default:
        break;
    }
  });
  return news;
}

QdiscStats::QdiscStats() : _socket(NETLINK_ROUTE) {}

std::error_code QdiscStats::refresh(double now) {
  _reading.at(now, [this] { _error = read(); });
  return _error;
}

std::error_code QdiscStats::read() {
  std::vector<QdiscNews> all;
  // One that was missed would look as if replaced.
  auto const error = askUntilWhole([&] {
    ++_dumps;
    all.clear();
    NetlinkRequest request(RTM_GETQDISC, tcmsg{});
    return _socket.dump(request, [&](nlmsghdr const& message) {
      if (auto const news = readQdiscMessage(message)) all.push_back(*news);
    });
  });
  if (error) all.clear();
  index(all);
  return error;
}

void QdiscStats::index(std::vector<QdiscNews>& all) {
  std::ranges::stable_sort(all, {}, &QdiscNews::ifindex);
  _qdiscs.clear();
  _links.clear();
  for (QdiscNews const& news : all) {
    if (_links.empty() || _links.back().ifindex != news.ifindex)
      _links.push_back({news.ifindex, _qdiscs.size(), 0});
    ++_links.back().count;
    _qdiscs.push_back(news.qdisc);
  }
}

std::span<Qdisc const> QdiscStats::find(int ifindex) const {
  auto const at = std::ranges::lower_bound(_links, ifindex, {}, &Link::ifindex);
  if (at == _links.end() || at->ifindex != ifindex) return {};
  return std::span(_qdiscs).subspan(at->first, at->count);
}

}  // namespace Hardware::Linux
